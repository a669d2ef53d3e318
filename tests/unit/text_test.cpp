#include <gtest/gtest.h>

#include "frame/text.h"

TEST(DigitAfter, ReadsTheCharacterAfterTheMarker)
{
    EXPECT_EQ(camera_digit("corvane.cam3.brightness"), 3);
    EXPECT_EQ(camera_digit("corvane.brightness"), 0);
    EXPECT_EQ(camera_digit("corvane.cam0.x"), 0);
}
