#include "platform/KeptDescriptor.h"

#include <QTemporaryDir>

#include <fcntl.h>

using namespace zel;

namespace {

class KeptDescriptorTest : public testing::Test
{
protected:
    KeptDescriptor::Taken opened()
    {
        KeptDescriptor::Taken taken = kept.take();
        EXPECT_EQ(taken.descriptor, -1);
        taken.descriptor = ::open(QFile::encodeName(directory.path()).constData(), O_RDONLY);
        EXPECT_GE(taken.descriptor, 0);
        return taken;
    }
    static bool isOpen(const KeptDescriptor::Taken &taken)
    {
        return ::fcntl(taken.descriptor, F_GETFD) >= 0;
    }

    QTemporaryDir directory;
    KeptDescriptor kept;
};

} // namespace

TEST_F(KeptDescriptorTest, giveBack_held_nextTakerGetsItAlone)
{
    kept.hold();
    const auto first = opened();
    kept.giveBack(first);
    EXPECT_EQ(kept.take().descriptor, first.descriptor);
    EXPECT_EQ(kept.take().descriptor, -1);
    kept.giveBack(first);
    kept.letGo();
}

TEST_F(KeptDescriptorTest, giveBack_nobodyHolds_closesIt)
{
    const auto taken = opened();
    kept.giveBack(taken);
    EXPECT_FALSE(isOpen(taken));
}

TEST_F(KeptDescriptorTest, giveBack_oneIsKept_closesTheOther)
{
    kept.hold();
    const auto first = opened();
    const auto second = opened();
    kept.giveBack(first);
    kept.giveBack(second);
    EXPECT_TRUE(isOpen(first));
    EXPECT_FALSE(isOpen(second));
    kept.letGo();
}

TEST_F(KeptDescriptorTest, giveBack_nothingWasOpened_keepsNothing)
{
    kept.hold();
    kept.giveBack(kept.take());
    EXPECT_EQ(kept.take().descriptor, -1);
    kept.letGo();
}

TEST_F(KeptDescriptorTest, letGo_lastHolder_closesIt)
{
    kept.hold();
    kept.hold();
    const auto taken = opened();
    kept.giveBack(taken);
    kept.letGo();
    EXPECT_TRUE(isOpen(taken));
    kept.letGo();
    EXPECT_FALSE(isOpen(taken));
}

TEST_F(KeptDescriptorTest, letGo_whileItIsTaken_closesItWhenItComesBack)
{
    kept.hold();
    const auto taken = opened();
    kept.letGo();
    EXPECT_TRUE(isOpen(taken));
    kept.giveBack(taken);
    EXPECT_FALSE(isOpen(taken));
}

TEST_F(KeptDescriptorTest, renew_keptOrTaken_closesBoth)
{
    kept.hold();
    const auto idle = opened();
    const auto busy = opened();
    kept.giveBack(idle);
    kept.renew();
    EXPECT_FALSE(isOpen(idle));
    kept.giveBack(busy);
    EXPECT_FALSE(isOpen(busy));
    kept.letGo();
}
