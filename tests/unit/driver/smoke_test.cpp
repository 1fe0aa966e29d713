#include "driver/driver.h"
#include "varo5_test.h"

TEST_F(VaroTest, ModelIdOfMissingFileIsZeros) { EXPECT_STREQ("00-00-00-00", get_model_id("/nonexistent/x")); }
