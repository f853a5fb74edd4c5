#include <gtest/gtest.h>
TEST(Demo, Placeholder) {}
