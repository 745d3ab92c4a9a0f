#include "TestApplication.h"

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    const zel::test::TestApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
