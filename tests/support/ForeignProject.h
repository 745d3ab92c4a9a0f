#pragma once

#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace zel::test {

/// A project of somebody else: a copy of a folder with a CMakeLists.txt, built against what is
/// installed of this tree, which is the public headers and the shared libraries.
class ForeignProject
{
public:
    /// The copy always lies in the same place: a cache of compilations knows it then.
    ForeignProject(const QString &source, const QString &name);

    /// Installs the libraries, configures and builds the project.
    testing::AssertionResult build() const;
    /// Only configures it, with these variables besides.
    testing::AssertionResult configure(const QStringList &variables) const;
    QString program(const QString &name) const { return buildFolder() + u'/' + name; }

private:
    static testing::AssertionResult cmake(const QStringList &arguments);
    testing::AssertionResult install(const QString &component) const;
    QString prefix() const { return folder + QStringLiteral("/installed"); }
    QString buildFolder() const { return folder + QStringLiteral("/build"); }

    const QString folder;
};

} // namespace zel::test
