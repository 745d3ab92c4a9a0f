#include "ForeignProject.h"

#include "ProgramRun.h"

#include <filesystem>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

ForeignProject::ForeignProject(const QString &source, const QString &name)
    : folder(QStringLiteral(FOREIGN_PROJECTS) + u'/' + name)
{
    std::filesystem::remove_all(folder.toStdString());
    std::filesystem::create_directories(QStringLiteral(FOREIGN_PROJECTS).toStdString());
    std::filesystem::copy(source.toStdString(), folder.toStdString(),
                          std::filesystem::copy_options::recursive);
}

testing::AssertionResult ForeignProject::build() const
{
    for (const QString &component : { u"library"_s, u"schemes"_s, u"development"_s }) {
        if (const auto installed = install(component); !installed)
            return installed;
    }
    if (const auto configured = configure({ u"-DCMAKE_PREFIX_PATH="_s + prefix() }); !configured)
        return configured;
    return cmake({ u"--build"_s, buildFolder(), u"--parallel"_s, u"2"_s });
}

testing::AssertionResult ForeignProject::cmake(const QStringList &arguments)
{
    ProgramRun::Options options;
    options.limit = 240'000; // compiles several files, on a machine that may be busy
    ProgramRun run(QStringLiteral(CMAKE_PROGRAM), arguments, options);
    if (run.exitCode() == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << run.output().toStdString() << run.errors().toStdString();
}

testing::AssertionResult ForeignProject::install(const QString &component) const
{
    return cmake({ u"--install"_s, QStringLiteral(BUILD_FOLDER), u"--prefix"_s, prefix(),
                   u"--component"_s, component });
}

testing::AssertionResult ForeignProject::configure(const QStringList &variables) const
{
    return cmake(QStringList { u"-S"_s, folder, u"-B"_s, buildFolder(), u"-G"_s,
                               QStringLiteral(CMAKE_GENERATOR_NAME),
                               QStringLiteral("-DCMAKE_CXX_COMPILER=" CXX_COMPILER),
                               QStringLiteral("-DCMAKE_CXX_COMPILER_LAUNCHER=" CXX_LAUNCHER),
                               QStringLiteral("-DCMAKE_CXX_FLAGS=" CXX_FLAGS) }
                 + variables);
}

} // namespace zel::test
