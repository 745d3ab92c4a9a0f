#include "internal/FormatDetectorBase.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

using zel::msreader::internal::FormatDetectorBase;

namespace {

// Of the ABI that g++ and clang share: a pointer to a virtual member holds one more than the offset
// of its slot in bytes.
template<typename Member>
std::size_t slotOf(Member member)
{
    std::size_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word - 1) / sizeof(void *);
}

} // namespace

TEST(FormatDetectorBaseTest, virtualOperations_order_isKept)
{
#ifndef __x86_64__
    GTEST_SKIP() << "other processors keep the slot elsewhere in the pointer";
#endif
    static_assert(std::has_virtual_destructor_v<FormatDetectorBase>);
    static_assert(std::is_abstract_v<FormatDetectorBase>);
    // Two slots are the destructor's.
    EXPECT_EQ(slotOf(&FormatDetectorBase::supportedFormats), 2U);
    EXPECT_EQ(slotOf(&FormatDetectorBase::matchesByName), 3U);
    EXPECT_EQ(slotOf(&FormatDetectorBase::detectFormat), 4U);
    EXPECT_EQ(slotOf(&FormatDetectorBase::fileNameExtension), 5U);
    EXPECT_EQ(slotOf(&FormatDetectorBase::isFile), 6U);
    EXPECT_EQ(slotOf(&FormatDetectorBase::isFolder), 7U);
    EXPECT_EQ(slotOf(&FormatDetectorBase::formatDescription), 8U);
}
