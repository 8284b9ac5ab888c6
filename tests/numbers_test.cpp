#include <gtest/gtest.h>
#include "core/numbers.h"
TEST(Numbers, Placeholder) { EXPECT_EQ(vexmor::LeadingNumber(" 24"), 24.0); }
