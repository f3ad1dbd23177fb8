#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "os/environment.h"
#include "vkdb.h"

namespace {

TEST(VkdbAgentDir, DefaultsToAgentsBesideTheLibrary) {
    vk::os::UnsetEnvironment("VK_AGENT_DIR");
    // The same directory, however the system spells it ("Z:\..." under Wine).
    std::error_code ec;
    EXPECT_TRUE(std::filesystem::equivalent(VKDBPluginAgentDir(), VK_DEFAULT_AGENT_DIR, ec))
        << VKDBPluginAgentDir() << " is not " << VK_DEFAULT_AGENT_DIR << " " << ec.message();
    // No module lives there under this name.
    EXPECT_EQ(VKDBPluginGetIDByPrefix("nosuchagent"), 0u);
}

}  // namespace
