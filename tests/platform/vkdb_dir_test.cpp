#include <gtest/gtest.h>

#include <cstdlib>

#include "vkdb.h"

namespace {

TEST(VkdbAgentDir, DefaultsToAgentsBesideTheLibrary) {
    unsetenv("VK_AGENT_DIR");
    EXPECT_STREQ(VKDBPluginAgentDir(), VK_DEFAULT_AGENT_DIR);
    // No module lives there under this name.
    EXPECT_EQ(VKDBPluginGetIDByPrefix("nosuchagent"), 0u);
}

}  // namespace
