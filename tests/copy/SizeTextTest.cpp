#include <gtest/gtest.h>

#include <string>

#include "support/WindowFixture.h"

namespace qv {
namespace {

using SizeTextTest = test::WindowFixture;

TEST_F(SizeTextTest, SizesInBinaryUnitsAndDurationsWithTheirIrregularHours) {
    const std::pair<std::int64_t, std::string> sizes[] = {
        {0, "0.0 bytes"},     {1024, "1024.0 bytes"},     {1025, "1.0 KB"},           {1536, "1.5 KB"},
        {1048525, "1024.0 KB"},  // rounding carries up without changing the unit
        {1048577, "1.0 MB"},  {1073741824, "1024.0 MB"},  {1073741825, "1.000 GB"},  {1610612736, "1.500 GB"},
        {1099511627776, "1024.000 GB"}, {1099511627777, "1.000 TB"}, {1649267441664, "1.500 TB"}, {-2048, "-2048.0 bytes"}};
    for (const auto& [size, text] : sizes) EXPECT_EQ(window->getScaledSize(size).Bytes(), text) << size;

    const std::pair<std::int32_t, std::string> durations[] = {
        {-5, "00:00"},       {1, "00:01"},       {2, "00:02"},         {59, "00:59"},        {60, "01:00"},
        {61, "01:01"},       {62, "01:02"},      {119, "01:59"},       {121, "02:01"},       {3599, "59:59"},
        {3600, "01:00:00"},  {3601, "01:00:01"}, {3660, "0101:00"},    {3661, "0101:01"},    {3725, "01:02:05"},
        {7199, "01:59:59"},  {7200, "02::00:00"}, {7260, "02:01:00"},  {7325, "02::02:05"},  {360000, "100::00:00"},
        {INT32_MIN, "00:00"}};
    for (const auto& [seconds, text] : durations) EXPECT_EQ(window->secondsToString(seconds).Bytes(), text) << seconds;
    EXPECT_EQ(std::string(window->stringFromBool(true).Bytes()) + std::string(window->stringFromBool(false).Bytes()), "truefalse");
}

}  // namespace
}  // namespace qv
