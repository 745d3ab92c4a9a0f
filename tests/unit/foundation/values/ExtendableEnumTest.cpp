#include "values/ExtendableEnum.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

struct ColorData
{
    int wavelength = 0;
};
using Color = ExtendableEnum<ColorData>;

auto countOf(QLatin1StringView name)
{
    const auto &values = Color::registeredValues();
    return std::count_if(values.begin(), values.end(),
                         [name](const Color &value) { return value.name() == name; });
}

} // namespace

TEST(ExtendableEnumTest, constructor_nameThatIsRegistered_addsNothingAndTheFirstDataStays)
{
    const Color first("TWICE"_L1, { 470 });
    EXPECT_EQ(countOf("TWICE"_L1), 1);
    const char sameText[] = "TWICE";
    const Color second(QLatin1StringView(sameText), { 620 });
    EXPECT_EQ(countOf("TWICE"_L1), 1);
    EXPECT_EQ(second.data().wavelength, 620);
    EXPECT_EQ(ExtendableEnumRef(second).data().wavelength, 470);
}

TEST(ExtendableEnumTest, constructor_nameThatBeginsAlike_isAnotherValue)
{
    const Color whole("LONGER"_L1, { 470 });
    const Color part("LONG"_L1, { 620 });
    EXPECT_EQ(ExtendableEnumRef(part).data().wavelength, 620);
}

TEST(ExtendableEnumRefTest, comparison_goesByName)
{
    const Color one("ORDER_A"_L1, {});
    const Color same("ORDER_A"_L1, {});
    const Color other("ORDER_B"_L1, {});
    EXPECT_TRUE(ExtendableEnumRef(one) == ExtendableEnumRef(same));
    EXPECT_FALSE(ExtendableEnumRef(one) == ExtendableEnumRef(other));
    EXPECT_TRUE(ExtendableEnumRef(one) < ExtendableEnumRef(other));
    EXPECT_FALSE(ExtendableEnumRef(other) < ExtendableEnumRef(one));
}
