#include "files/FileUtils.h"

#include "errors/Propagate.h"
#include "platform/TreeCopy.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Where a folder really lies, with the links of all that exists of its path resolved. Empty if
/// that cannot be told.
QString resolvedFolder(const QString &path)
{
    // Not cleaned: behind a link, ".." leads elsewhere than its text says.
    QString existing = QDir::isAbsolutePath(path) ? path : QDir::currentPath() + u'/' + path;
    QString rest;
    while (!QFileInfo::exists(existing)) {
        const QFileInfo info(existing);
        // A link that leads nowhere hides what will be there once its target exists; ".." behind
        // something missing means nothing.
        if (info.isSymLink() || info.fileName() == u".."_s || info.path() == existing)
            return {};
        rest = u'/' + info.fileName() + rest;
        existing = info.path();
    }
    const QString resolved = QFileInfo(existing).canonicalFilePath();
    return resolved.isEmpty() ? QString() : QDir::cleanPath(resolved + rest);
}

bool isBelow(const QString &path, const QString &parent)
{
    return path.size() > parent.size() && path.startsWith(parent)
        && (parent.endsWith(u'/') || path.at(parent.size()) == u'/');
}

/// The path without what QFileInfo would take for an empty last component.
QString withoutTrailingNothing(QString path)
{
    while (path.size() > 1 && (path.endsWith(u'/') || path.endsWith(u"/."_s)))
        path.chop(1);
    return path;
}

} // namespace

FileUtils::CopyFilesValidator::~CopyFilesValidator() = default;

bool FileUtils::CopyFilesValidator::isAccepted(const QString &) const
{
    return true;
}

bool FileUtils::copyFiles(const QString &source, const QString &target, CopyFilesOptions options,
                          const CopyFilesValidator &validator, const QList<CustomName> &customNames,
                          QList<QString> *skipped)
{
    QHash<QString, QString> names;
    for (const CustomName &custom : customNames)
        names.insert(QDir::cleanPath(custom.relativePath), custom.name);

    TreeCopy::Options treeOptions;
    treeOptions.isRecursive = options.recursion == RecursionPolicy::Recursive;
    treeOptions.replacesFiles = options.duplicates == DuplicateFilesPolicy::Overwrite;
    treeOptions.accepts = [&](const QString &relativePath) {
        return validator.isAccepted(QDir(source).filePath(relativePath));
    };
    treeOptions.nameOf = [&](const QString &relativePath) {
        return names.value(relativePath);
    };
    treeOptions.skipped = [&](const QString &sourcePath) {
        if (skipped)
            skipped->append(sourcePath);
    };
    const Error error = TreeCopy::copyTree(source, target, treeOptions);
    // The answer is a bool: only the log can tell why.
    ZEL_DROP(error);
    for (const QString &warning : error.warnings())
        qCWarning(lcResourceManager).noquote() << warning;
    return !error.hasError();
}

bool FileUtils::isSubPath(const QString &path, const QString &parent)
{
    if (path.isEmpty() || parent.isEmpty() || path.contains(QChar::Null))
        return false;
    const QString place = withoutTrailingNothing(QDir::fromNativeSeparators(path));
    const QFileInfo info(place);
    const QString text = QDir::cleanPath(info.absoluteFilePath());
    const QString parentText = QDir::cleanPath(QFileInfo(parent).absoluteFilePath());
    if (info.fileName() == u".."_s || !isBelow(text, parentText))
        return false;

    const QString resolvedParent = resolvedFolder(parent);
    const QString resolvedAround = resolvedFolder(info.path());
    return !resolvedParent.isEmpty() && !resolvedAround.isEmpty()
        && isBelow(QDir(resolvedAround).filePath(info.fileName()), resolvedParent);
}

} // namespace zel
