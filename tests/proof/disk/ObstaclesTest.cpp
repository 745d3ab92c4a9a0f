#include "CacheInvariants.h"
#include "Proof.h"
#include "ZelcacheCli.h"

#include <QDirIterator>
#include <QFileInfo>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// Something in the way of the program, and what it says to that. The lines are for bash, in which
/// $base is the cache's base directory, $out a folder beside it, $f the folder of one.raw in the
/// cache, and $zelcache the program, without the rights of an administrator.
struct Obstacle
{
    friend void PrintTo(const Obstacle &obstacle, std::ostream *out) { *out << obstacle.name; }

    const char *name;
    const char *put; ///< makes it
    const char *command;
    int code;
    const char *says; ///< part of the errors
    const char *lift; ///< takes it away
    int laterCode = 0; ///< of the same command then
};

class ObstaclesTest : public ZelcacheCli, public testing::WithParamInterface<Obstacle>
{
protected:
    void SetUp() override
    {
        writeFile(cache.outside(u"out/one.raw"_s), content);
        writeFile(cache.outside(u"out/two.raw"_s), content);
        writeFile(cache.outside(u"out/run.d/first"_s), "first");
        writeFile(cache.outside(u"out/run.d/deep/second"_s), content);
        writeFile(cache.outside(u"guarded/file"_s), "not of the cache");
    }

    /// Runs lines of bash in a mount namespace of their own.
    std::unique_ptr<ProgramRun> runLines(const QString &lines) const
    {
        const QString inside
            = u"zelcache=\"%1$zelcache\" base=%2 out=%3; cd $base/..; mount --make-rprivate /; "
              "%4"_s.arg(QString::fromUtf8(withoutRights), cache.baseDir(), cache.outside(u"out"_s),
                         lines);
        return startInShell(u"unshare %1 bash -c '%2'"_s.arg(namespaces(), inside));
    }

    /// Whether this machine lets the test put things in the way, and they are in the way then.
    bool canObstruct() const
    {
        const auto run = startInShell(
            u"unshare %1 bash -c 'cd %2 && mount --make-rprivate / && mkdir closed && "
            "chmod 555 closed && ! %3 mkdir closed/folder && rmdir closed'"_s.arg(
                namespaces(), cache.outside(u"out"_s), QString::fromUtf8(withoutRights)));
        return run->exitCode() == 0;
    }

    static QString namespaces()
    {
        return ::geteuid() == 0 ? u"--mount"_s : u"--mount --map-root-user"_s;
    }

    /// Who may do anything finds nothing in the way, and in the namespace everybody may.
    static constexpr auto withoutRights = "setpriv --bounding-set=-all --inh-caps=-all ";

    CacheInvariants invariants() const
    {
        CacheInvariants all(cache.databasePath(), cache.dataDir());
        all.expectContent(u"share:"_s + cache.outside(u"out/one.raw"_s), content);
        all.expectContent(u"share:"_s + cache.outside(u"out/two.raw"_s), content);
        all.except(CacheInvariants::Exception::RowsOfTheDead);
        return all;
    }

    const QByteArray content = QByteArray("all of it ").repeated(20'000);
};

TEST_P(ObstaclesTest, command_obstacle_saysSoAndSucceedsWithoutIt)
{
    if (!canObstruct()) {
        // The long form has to be able to say that all of it was proven.
        if (isLongProof())
            FAIL() << "unshare or setpriv is not permitted: nothing was proven";
        GTEST_SKIP() << "unshare or setpriv is not permitted";
    }
    const Obstacle &obstacle = GetParam();
    const auto run
        = runLines(u"$zelcache get share:$out/one.raw >/dev/null || exit 98; "
                   "f=$(dirname $($zelcache path share:$out/one.raw)); %1\n"
                   "%2 >/dev/null; code=$?; $zelcache list >list; echo list $? >&2; %3\n"
                   "%2 >/dev/null; echo later $? >&2; exit $code"_s.arg(
                       QString::fromUtf8(obstacle.put), QString::fromUtf8(obstacle.command),
                       QString::fromUtf8(obstacle.lift)));
    EXPECT_EQ(run->exitCode(), obstacle.code) << run->errors().toStdString();
    const QByteArray errors = run->errors();
    EXPECT_TRUE(errors.contains(obstacle.says)) << errors.toStdString();
    EXPECT_TRUE(errors.contains("later " + QByteArray::number(obstacle.laterCode) + '\n'))
        << errors.toStdString();
    const QStringList violations = invariants().violations();
    EXPECT_EQ(violations, QStringList());
    EXPECT_EQ(readFile(cache.outside(u"guarded/file"_s)), "not of the cache");
    EXPECT_EQ(readFile(cache.outside(u"out/one.raw"_s)), content);
    recordFigure(u"obstacles"_s, 1);
    recordFigure(u"operations"_s, 5);
    recordFigure(u"violations"_s, violations.size());
}

namespace {

constexpr auto getTwo = "$zelcache get share:$out/two.raw";
constexpr auto getFolder = "$zelcache get share:$out/run.d";
constexpr auto readOnlyVolume = "mount --bind $base $base; mount -o remount,bind,ro $base";
constexpr auto writableVolume = "umount $base";
constexpr auto setSize = "$zelcache config set OptimalCacheSize 2GiB";

const Obstacle obstacles[] = {
    // A volume that nobody may write to: what only reads goes on.
    { "readOnlyVolume_get", readOnlyVolume, getTwo, 8, "cannot be opened", writableVolume },
    { "readOnlyVolume_remove", readOnlyVolume, "$zelcache remove share:$out/one.raw", 8,
      "cannot be opened", writableVolume },
    { "readOnlyVolume_purge", readOnlyVolume, "$zelcache purge --to 0", 8, "cannot be opened",
      writableVolume },
    { "readOnlyVolume_policy", readOnlyVolume, "$zelcache policy share:$out/one.raw Never", 8,
      "cannot be opened", writableVolume },
    { "readOnlyVolume_recount", readOnlyVolume, "$zelcache recount", 8, "cannot be opened",
      writableVolume },
    { "readOnlyVolume_add", readOnlyVolume, "$zelcache add http://h/a $out/two.raw", 8,
      "cannot be opened", writableVolume },
    { "readOnlyVolume_path", readOnlyVolume, "$zelcache path share:$out/one.raw", 8, "list 0",
      writableVolume },
    { "readOnlyVolume_status", readOnlyVolume, "$zelcache status", 0, "list 0", writableVolume },
    // Folders and files that belong to somebody else.
    { "baseOfAnother_get", "chmod 555 $base", getTwo, 8, "cannot be opened", "chmod 755 $base" },
    { "databaseOfAnother_get", "chmod 444 $base/ResourceCache.db*", getTwo, 8, "cannot be opened",
      "chmod 644 $base/ResourceCache.db*" },
    { "databaseOfAnother_noRights", "chmod 000 $base/ResourceCache.db*", getTwo, 8,
      "cannot be opened", "chmod 644 $base/ResourceCache.db*" },
    { "dataOfAnother_get", "chmod 555 $base/Cache/share", getTwo, 1, "two.raw",
      "chmod 755 $base/Cache/share" },
    { "dataOfAnother_getFolder", "chmod 555 $base/Cache/share", getFolder, 1, "run.d",
      "chmod 755 $base/Cache/share" },
    { "dataOfAnother_remove", "chmod 555 $base/Cache/share $f",
      "$zelcache remove share:$out/one.raw", 1, "could not be removed",
      "chmod 755 $base/Cache/share $f" },
    { "stagingOfAnother_get", "chmod 555 $base/Staging", getTwo, 1, "cannot be created",
      "chmod 755 $base/Staging" },
    { "stagingOfAnother_getFolder", "chmod 000 $base/Staging", getFolder, 1, "cannot be created",
      "chmod 755 $base/Staging" },
    { "manifestsOfAnother_get", "chmod 555 $base/Manifests", getTwo, 0, "list 0",
      "chmod 755 $base/Manifests" },
    { "sourceOfAnother_get", "chmod 000 $out/two.raw", getTwo, 1, "two.raw",
      "chmod 644 $out/two.raw" },
    { "sourceOfAnother_getFolder", "chmod 000 $out/run.d/deep", getFolder, 1, "deep",
      "chmod 755 $out/run.d/deep" },
    // A file may not grow over a limit.
    { "limitOfSize_get", "ulimit -S -f 100", getTwo, 1, "File too large",
      "ulimit -S -f unlimited" },
    { "limitOfSize_getFolder", "ulimit -S -f 100", getFolder, 1, "File too large",
      "ulimit -S -f unlimited" },
    { "limitOfSize_add", "ulimit -S -f 100", "$zelcache add http://h/a $out/two.raw", 1,
      "File too large", "ulimit -S -f unlimited" },
    { "limitOfSize_database", "ulimit -S -f 4", getTwo, 8, "cannot be opened",
      "ulimit -S -f unlimited" },
    // What was there is gone, or something else stands there.
    { "dataGone_get", "rm -r $base/Cache", "$zelcache get share:$out/one.raw", 0, "list 0", "" },
    { "dataGone_recount", "rm -r $base/Cache", "$zelcache recount", 3, "is gone from the cache",
      "$zelcache get share:$out/one.raw" },
    { "stagingGone_get", "rm -r $base/Staging", getTwo, 0, "list 0", "" },
    { "manifestsGone_get", "rm -r $base/Manifests", getTwo, 0, "list 0", "" },
    { "baseGone_get", "rm -r $base", getTwo, 0, "list 0", "" },
    { "dataIsAFile_get", "rm -r $base/Cache; echo x >$base/Cache", getTwo, 1, "two.raw",
      "rm $base/Cache; $zelcache get share:$out/one.raw >/dev/null" },
    { "stagingIsAFile_get", "rm -r $base/Staging; echo x >$base/Staging", getTwo, 1, "Staging",
      "rm $base/Staging" },
    { "sourceGone_get", "mv $out/two.raw $out/away", getTwo, 1, "two.raw",
      "mv $out/away $out/two.raw" },
    { "sourceGone_getFolder", "mv $out/run.d $out/away", getFolder, 1, "run.d",
      "mv $out/away $out/run.d" },
    // The settings: what was in them stays.
    { "settingsOfAnother_config",
      "$zelcache config set OptimalCacheSize 1GiB >/dev/null; chmod 555 $XDG_CONFIG_HOME", setSize,
      1, "The settings cannot be written",
      "test $($zelcache config get OptimalCacheSize) = 1073741824 || exit 97; "
      "chmod 755 $XDG_CONFIG_HOME" },
    { "settingsOnAReadOnlyVolume_config",
      "$zelcache config set OptimalCacheSize 1GiB >/dev/null; "
      "mount --bind $XDG_CONFIG_HOME $XDG_CONFIG_HOME; mount -o remount,bind,ro $XDG_CONFIG_HOME",
      setSize, 1, "The settings cannot be written",
      "test $($zelcache config get OptimalCacheSize) = 1073741824 || exit 97; "
      "umount $XDG_CONFIG_HOME" },
    { "settingsOverALimit_config",
      "$zelcache config set OptimalCacheSize 1GiB >/dev/null; ulimit -S -f 0", setSize, 1,
      "OptimalCacheSize is not set",
      "test $($zelcache config get OptimalCacheSize) = 1073741824 || exit 97; "
      "ulimit -S -f unlimited" },
    { "settingsAreAFolder_config", "s=$($zelcache config path); mkdir -p $s", setSize, 1,
      "Is a directory", "rmdir $s" },
    // Links that lead outside: what they lead to stays as it is.
    { "linkInTheSource_getFolder", "ln -s ../../guarded $out/run.d/link", getFolder, 0, "list 0",
      "" },
    { "linkInsteadOfAFolder_remove", "rm -r $f; ln -s $PWD/guarded $f",
      "$zelcache remove --force share:$out/one.raw; true", 0, "list 0",
      "rm -f $f; $zelcache get share:$out/one.raw >/dev/null" },
    { "linkInsteadOfAFile_get", "rm -r $f/one.raw; ln -s $PWD/guarded/file $f/one.raw",
      "$zelcache remove share:$out/one.raw && $zelcache get share:$out/one.raw", 0, "list 0", "" },
    { "linkInsteadOfStaging_get", "rm -r $base/Staging; ln -s $PWD/gone/away $base/Staging", getTwo,
      1, "Staging", "rm $base/Staging" },
    // Names.
    { "nameOf255Bytes_get", "n=$(printf %0255d 1); cp $out/two.raw $out/$n",
      "$zelcache get share:$out/$n", 0, "list 0", "" },
    { "nameOf255BytesInside_getFolder", "n=$(printf %0255d 1); cp $out/two.raw $out/run.d/$n",
      "$zelcache get share:$out/run.d && cmp $out/two.raw $base/Cache/share/*/run.d/$n", 0,
      "list 0", "" },
    { "nameThatIsNoTextInside_getFolder", "n=$(printf \"a\\377b\"); cp $out/two.raw $out/run.d/$n",
      "$zelcache get share:$out/run.d && cmp $out/two.raw $base/Cache/share/*/run.d/$n", 0,
      "list 0", "" },
    { "nameThatIsNoText_get", "n=$(printf \"a\\377b\"); cp $out/two.raw $out/$n",
      "$zelcache get share:$out/$n", 1, "There is no", "n=two.raw" },
    { "namesOfDifferentCaseInside_getFolder",
      "echo lower >$out/run.d/case; echo upper >$out/run.d/CASE",
      "$zelcache get share:$out/run.d && cmp $out/run.d/CASE $base/Cache/share/*/run.d/CASE && "
      "cmp $out/run.d/case $base/Cache/share/*/run.d/case",
      0, "list 0", "" },
    { "namesOfDifferentCase_get", "cp $out/two.raw $out/ONE.raw",
      "$zelcache get share:$out/ONE.raw share:$out/one.raw", 0, "list 0", "" },
    { "nameWithALineEnd_getFolder", "n=$(printf \"a\\nb\"); cp $out/two.raw \"$out/run.d/$n\"",
      "$zelcache get share:$out/run.d", 0, "list 0", "" },
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Disk, ObstaclesTest, testing::ValuesIn(obstacles),
                         [](const auto &obstacle) { return obstacle.param.name; });

} // namespace zel::test
