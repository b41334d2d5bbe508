#include "testutil.h"
#include "main.h"

TEST(Smoke, StartsUp) { EXPECT_NE(start_app(), nullptr); }
