#include "settings/SettingsInterface.h"
#include "settings/SettingsUtils.h"

#include "TemporaryCache.h"
#include "WaitUntil.h"
#include "platform/ChildProcess.h"
#include "settings/UserFolders.h"

#include <QFileSystemWatcher>
#include <QLockFile>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>

#include <thread>

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class Record : public SettingsInterface
{
public:
    explicit Record(const QString &path)
        : path(path)
    {
    }

    QString text = u"default"_s;
    qint64 number = 1;
    QStringList list;

protected:
    void saveInternal(QSettings *settings) const override
    {
        settings->setValue(u"Group/Text"_s, text);
        settings->setValue(u"Group/Number"_s, number);
        settings->setValue(u"Group/List"_s, list);
    }
    void loadInternal(QSettings *settings) override
    {
        text = settings->value(u"Group/Text"_s, text).toString();
        number = settings->value(u"Group/Number"_s, number).toLongLong();
        list = settings->value(u"Group/List"_s, list).toStringList();
    }
    QString settingsFilePath() const override { return path; }

private:
    QString path;
};

class SettingsTest : public testing::Test
{
protected:
    QString at(const QString &name) const { return QDir(directory.path()).filePath(name); }
    QStringList entries() const
    {
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        return QDir(directory.path()).entryList(all);
    }
    static void makeOld(const QString &path)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTime().addSecs(-3600),
                                     QFileDevice::FileModificationTime));
    }

    const QTemporaryDir directory;
};

} // namespace

TEST_F(SettingsTest, load_noFile_keepsTheDefaultsAndMakesNone)
{
    Record record(at(u"s.ini"_s));
    record.load();
    EXPECT_EQ(record.text, u"default"_s);
    EXPECT_EQ(record.number, 1);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(SettingsTest, save_thenLoad_givesTheSameValues)
{
    const QString path = at(u"new/folder/s.ini"_s);
    Record record(path);
    record.text = u"C:\\Übung; \"quoted\"\n2"_s;
    record.number = 10'737'418'240;
    record.list = { u"a,b"_s, u"c"_s };
    ASSERT_FALSE(record.save().hasError());
    EXPECT_EQ(QDir(at(u"new/folder"_s)).entryList(QDir::Files | QDir::Hidden),
              QStringList(u"s.ini"_s));
    EXPECT_TRUE(readFile(path).startsWith("[Group]"));

    Record other(path);
    other.load();
    EXPECT_EQ(other.text, record.text);
    EXPECT_EQ(other.number, record.number);
    EXPECT_EQ(other.list, record.list);
    const Record copy = other;
    EXPECT_EQ(copy.number, record.number);
}

TEST_F(SettingsTest, save_existingFile_keepsForeignKeysAndRights)
{
    const QString path = at(u"s.ini"_s);
    writeFile(path, "[Foreign]\nKey=7\n\n[Group]\nNumber=2\n");
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0600), 0);
    Record record(path);
    record.load();
    EXPECT_EQ(record.number, 2);
    record.number = 3;
    ASSERT_FALSE(record.save().hasError());
    EXPECT_EQ(QSettings(path, QSettings::IniFormat).value(u"Foreign/Key"_s).toInt(), 7);
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    Record again(path);
    again.load();
    EXPECT_EQ(again.number, 3);
    EXPECT_EQ(entries(), QStringList(u"s.ini"_s));
}

TEST_F(SettingsTest, save_link_writesTheFileBehindIt)
{
    writeFile(at(u"real.ini"_s), "");
    ASSERT_TRUE(QFile::link(at(u"real.ini"_s), at(u"s.ini"_s)));
    Record record(at(u"s.ini"_s));
    record.number = 5;
    ASSERT_FALSE(record.save().hasError());
    EXPECT_TRUE(QFileInfo(at(u"s.ini"_s)).isSymLink());
    EXPECT_TRUE(readFile(at(u"real.ini"_s)).contains("Number=5"));
}

TEST_F(SettingsTest, save_diskFull_failsAndKeepsTheOldFile)
{
    const QString path = at(u"s.ini"_s);
    Record record(path);
    record.text = u"old"_s;
    ASSERT_FALSE(record.save().hasError());
    const QByteArray before = readFile(path);

    // Enough for what is copied and locked first, too little for the new content.
    EXPECT_TRUE(withShortFiles(4096, [&] {
        record.text = QString(20'000, u'x');
        const Error error = record.save();
        return error.errorCode() == ErrorCode::OperationFailed
            && error.errorMessage().contains(path);
    }));
    EXPECT_EQ(readFile(path), before);
    EXPECT_EQ(entries(), QStringList(u"s.ini"_s));
}

TEST_F(SettingsTest, save_lockThatDoesNotSayWhose_isTakenWhenItIsOld)
{
    const QString path = at(u"s.ini"_s);
    writeFile(path + u".lock"_s, "");
    makeOld(path + u".lock"_s);
    Record record(path);
    record.number = 4;
    ASSERT_FALSE(record.save().hasError());
    EXPECT_TRUE(readFile(path).contains("Number=4"));
    EXPECT_EQ(entries(), QStringList(u"s.ini"_s));
}

TEST_F(SettingsTest, save_lockOfALivingProgram_isAwaitedHoweverOldItIs)
{
    const QString path = at(u"s.ini"_s);
    QLockFile other(path + u".lock"_s);
    ASSERT_TRUE(other.lock());
    makeOld(path + u".lock"_s);
    QFileSystemWatcher watcher({ directory.path() });
    QSignalSpy changes(&watcher, &QFileSystemWatcher::directoryChanged);

    Error error;
    std::thread saving([&] { error = Record(path).save(); });
    // He who means to remove an old lock makes a file before that, and removes it after it.
    EXPECT_TRUE(changes.wait());
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(path + u".lock.rmlock"_s); }));
    EXPECT_EQ(entries(), QStringList(u"s.ini.lock"_s));
    EXPECT_TRUE(readFile(path + u".lock"_s)
                    .startsWith(QByteArray::number(QCoreApplication::applicationPid())));
    other.unlock();
    saving.join();
    EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
    EXPECT_EQ(entries(), QStringList(u"s.ini"_s));
}

TEST_F(SettingsTest, save_leftoversOfKilledPrograms_removesThoseOfThisFile)
{
    const QString path = at(u"s.ini"_s);
    writeFile(at(u".zel-settings-s.ini-a1b2C3/written.ini"_s), "[Group]");
    writeFile(at(u".zel-settings-other.ini-a1b2C3/written.ini"_s), "[Group]");
    writeFile(at(u"outside/file"_s), "");
    ASSERT_TRUE(QFile::link(at(u"outside"_s), at(u".zel-settings-s.ini-linked"_s)));
    ASSERT_FALSE(Record(path).save().hasError());
    EXPECT_EQ(entries(),
              QStringList({ u".zel-settings-other.ini-a1b2C3"_s, u".zel-settings-s.ini-linked"_s,
                            u"outside"_s, u"s.ini"_s }));
    EXPECT_TRUE(QFile::exists(at(u"outside/file"_s)));
}

TEST_F(SettingsTest, save_notAllowed_failsAndNamesThePath)
{
    const QString path = at(u"s.ini"_s);
    writeFile(path, "[Group]\nNumber=2\n");
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0444), 0);
    ASSERT_TRUE(QDir().mkpath(at(u"closed"_s)));
    ASSERT_EQ(::chmod(QFile::encodeName(at(u"closed"_s)).constData(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()), [&] {
        return Record(path).save().errorMessage().contains(path)
            && Record(at(u"closed/s.ini"_s)).save().hasError()
            && Record(at(u"closed/below/s.ini"_s)).save().hasError();
    }));
    EXPECT_EQ(readFile(path), "[Group]\nNumber=2\n");
}

TEST_F(SettingsTest, load_unreadableFile_keepsTheDefaults)
{
    const QString path = at(u"s.ini"_s);
    writeFile(path, "[Group]\nNumber=2\n");
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0000), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()), [&] {
        Record record(path);
        record.load();
        return record.number == 1;
    }));
}

TEST(SettingsUtilsTest, settingsFilePath_anyName_liesInTheUsersConfiguration)
{
    const UserFolders folders;
    const QString root = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QString before = QCoreApplication::organizationName();
    QCoreApplication::setOrganizationName(u"Lab"_s);
    EXPECT_EQ(SettingsUtils::settingsFilePath(u"x.ini"_s), root + u"/Lab/x.ini"_s);
    QCoreApplication::setOrganizationName(QString());
    EXPECT_EQ(SettingsUtils::settingsFilePath(u"x.ini"_s), root + u"/x.ini"_s);
    QCoreApplication::setOrganizationName(before);
    EXPECT_FALSE(QFileInfo::exists(root));
}
