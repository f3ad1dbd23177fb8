// The host's tests that need what only POSIX systems have: root and other
// users (setpriv), file owners, modes and groups, FIFOs, devices. Built on those
// systems only.
#include <grp.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host_fixture.h"

namespace {

using namespace vk::host::test;

bool IsRoot() {
    return geteuid() == 0;
}

// The trace file the real plug-in creates is for its owner and the
// administrators' group only.
TEST_F(HostTest, TheTraceIsNotForEveryone) {
    const fs::path trace = dir_ / "trace" / "kvclp.log";
    fs::create_directories(trace.parent_path());
    env_["VK_PLUGIN"] = VK_TEST_REAL_PLUGIN;
    env_["KVDA_STATE"] = (dir_ / "estate.db").string();
    env_["KVDA_TIME_SCALE"] = "0";
    ASSERT_EQ(Run("vkreport", {"storage", "controller"}).exit, 0);
    ASSERT_TRUE(fs::exists(trace));
    EXPECT_EQ(fs::status(trace).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    if (const group* admins = getgrnam("vkadmin"); admins != nullptr && IsRoot()) {
        struct stat st {};
        ASSERT_EQ(stat(trace.c_str(), &st), 0);
        EXPECT_EQ(st.st_gid, admins->gr_gid);
    }
}

// ---- rights ----------------------------------------------------------------

TEST_F(HostTest, ConfigurationNeedsAdministratorRights) {
    if (!IsRoot()) GTEST_SKIP() << "needs root to run the commands as another user";
    Result r = RunAsNobody("vkconfig", {"storage", "pdisk", "action=blink", "passphrase=x"});
    EXPECT_EQ(r.exit, 3);
    EXPECT_EQ(r.err,
              "vkconfig: you need administrator rights for 'vkconfig storage pdisk' (root or "
              "group vkadmin)\n");
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(Calls().find("send"), std::string::npos) << Calls();
    EXPECT_NE(Calls().find("destroy"), std::string::npos) << Calls();

    r = RunAsNobody("vkconfig", {"--format=json", "storage", "pdisk"});
    EXPECT_EQ(r.exit, 3);
    ASSERT_TRUE(Json::accept(r.out)) << r.out;
    EXPECT_EQ(Json::parse(r.out).at("status"), "refused");

    // Reading is open to everyone, and so is help: it runs nothing.
    EXPECT_EQ(RunAsNobody("vkreport", {"storage", "pdisk"}).exit, 0);
    r = RunAsNobody("vkconfig", {"storage", "pdisk", "action=blink", "-?"});
    EXPECT_EQ(r.exit, 0) << r.err;
    EXPECT_NE(r.out.find("Usage: vkconfig storage OBJECT"), std::string::npos) << r.out;
}

TEST_F(HostTest, AdminGroupMembersHoldAdministratorRights) {
    if (!IsRoot()) GTEST_SKIP() << "needs root to run the commands as another user";
    const group* daemon = getgrgid(1);
    if (daemon == nullptr) GTEST_SKIP() << "no group 1 to use";
    WriteConf(std::string("admin_group=") + daemon->gr_name + "\n");
    const Result r = RunAsNobody("vkconfig", {"storage", "empty"}, "--groups=1");
    EXPECT_EQ(r.exit, 0) << r.err;
    EXPECT_NE(Calls().find("send vkconfig storage empty"), std::string::npos);

    WriteConf("admin_group=vk-no-such-group\n");
    EXPECT_EQ(RunAsNobody("vkconfig", {"storage", "empty"}, "--groups=1").exit, 3);
}

// A caller other than root must not choose where its rights come from: a
// VK_HOST_CONF naming the caller's own group counts only when root owns the
// file and no one else may write it.
TEST_F(HostTest, RightsComeOnlyFromAHostConfigurationRootControls) {
    if (!IsRoot()) GTEST_SKIP() << "needs root to own files and run as another user";
    struct Case {
        const char* what;
        uid_t owner;
        mode_t mode;
        bool asNobody;
        int exit;
        const char* warning;  // empty: none
    };
    // clang-format off
    const Case cases[] = {
        {"root's, read-only to others",   0,     0644, true,  0, ""},
        {"the caller's own",              65534, 0644, true,  3, "ignoring VK_HOST_CONF="},
        {"root's, group-writable",        0,     0664, true,  3, "ignoring VK_HOST_CONF="},
        {"root's, writable by everyone",  0,     0646, true,  3, "ignoring VK_HOST_CONF="},
        {"another user's, root asking",   65534, 0666, false, 0, ""},
    };
    // clang-format on
    const fs::path conf = dir_ / "host.conf";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        WriteConf("admin_group=nogroup\n");
        ASSERT_EQ(chown(conf.c_str(), c.owner, c.owner), 0);
        ASSERT_EQ(chmod(conf.c_str(), c.mode), 0);
        const Result r = c.asNobody ? RunAsNobody("vkconfig", {"storage", "empty"})
                                    : Run("vkconfig", {"storage", "empty"});
        EXPECT_EQ(r.exit, c.exit) << r.err;
        if (*c.warning == '\0')
            EXPECT_EQ(r.err, "");
        else
            EXPECT_NE(r.err.find(c.warning), std::string::npos) << r.err;
        fs::remove(conf);
    }
    // A FIFO is refused at once instead of being waited on.
    ASSERT_EQ(mkfifo(conf.c_str(), 0644), 0);
    const Result r = Run("vkreport", {"storage", "empty"});
    EXPECT_EQ(r.exit, 0);
    EXPECT_EQ(r.err, "vkreport: warning: " + conf.string() +
                         " is not a regular file; using the defaults\n");
}

// ---- trace directory --------------------------------------------------------

TEST_F(HostTest, SystemRootPointsAtTheLogDirectoryWhenUnset) {
    env_["SystemRoot"] = std::nullopt;
    env_["XDG_STATE_HOME"] = (dir_ / "state").string();
    const fs::path logDir = dir_ / "state" / "vk" / "log";
    // As root the directory would be /var/log/vk; run as an ordinary user.
    const Result r = IsRoot() ? RunAsNobody("vkreport", {"storage", "empty"})
                              : Run("vkreport", {"storage", "empty"});
    EXPECT_EQ(r.exit, 0) << r.err;
    EXPECT_EQ(Calls().rfind("load SystemRoot=" + logDir.string() + "\n", 0), 0u) << Calls();
    ASSERT_TRUE(fs::is_directory(logDir));
    EXPECT_EQ(fs::status(logDir).permissions() & fs::perms::all, fs::perms::owner_all);
}

// ---- an agent that cannot be used --------------------------------------------

// Runs SQL on a state file.
void Alter(const fs::path& file, const char* sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
}

// Whatever makes the estate unusable, every command in every format says
// that the agent is not available and names the file at fault: exit 4,
// message 1590, never a refusal of a value it could not check. kvda init
// --force replaces any such file, and only a file.
TEST_F(HostTest, AnUnusableEstateIsAgentUnavailable) {
    env_["VK_PLUGIN"] = VK_TEST_REAL_PLUGIN;
    env_["KVDA_TIME_SCALE"] = "0";
    const fs::path good = dir_ / "good.db";
    env_["KVDA_STATE"] = good.string();
    ASSERT_EQ(Run("kvda", {"init"}).exit, 0);

    struct Case {
        const char* what;
        std::string state;     // KVDA_STATE
        std::string agentDir;  // VK_AGENT_DIR, "" the real agent's
        std::string named;     // the file the message names
        bool replaced;         // kvda init --force makes an estate of it
    };
    const fs::path garbageAgent = VK_TEST_GARBAGE_AGENT;
    auto copy = [&](const char* name) {
        fs::copy_file(good, dir_ / name);
        return (dir_ / name).string();
    };
    const std::string garbage = (dir_ / "garbage.db").string();
    std::ofstream(garbage) << std::string(3000, 'x');
    const std::string truncated = copy("truncated.db");
    fs::resize_file(truncated, fs::file_size(good) / 3);
    const std::string version = copy("version.db");
    Alter(version, "UPDATE meta SET value='2' WHERE key='schema_version'");
    const std::string props = copy("props.db");
    Alter(props, "UPDATE objects SET props=X'00'");
    const std::string directory = (dir_ / "directory.db").string();
    fs::create_directory(directory);
    const std::vector<Case> cases = {
        {"garbage", garbage, "", garbage, true},
        {"truncated", truncated, "", truncated, true},
        {"another schema version", version, "", version, true},
        {"broken properties", props, "", props, true},
        {"a directory", directory, "", directory, false},
        {"/dev/null", "/dev/null", "", "/dev/null", false},
        {"an answer that is not XML", good.string(), garbageAgent.parent_path().string(),
         garbageAgent.string(), true},
    };
    // A list, a report through a validator, a configuration command.
    const std::vector<std::vector<std::string>> commands = {
        {"vkreport", "--format=text", "storage", "controller"},
        {"vkreport", "--format=json", "storage", "vdisk", "controller=0", "vdisk=0"},
        {"vkconfig", "--format=xml", "storage", "vdisk", "action=blink", "controller=0", "vdisk=0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        env_["KVDA_STATE"] = c.state;
        if (!c.agentDir.empty()) env_["VK_AGENT_DIR"] = c.agentDir;
        for (const auto& command : commands) {
            // configuration needs rights this user may not hold
            if (command[0] == "vkconfig" && !IsRoot()) continue;
            SCOPED_TRACE(command[1] + " " + command[3]);
            const Result r = Run(command[0], {command.begin() + 1, command.end()});
            EXPECT_EQ(r.exit, 4);
            EXPECT_EQ(r.err.rfind(command[0] + ": The data agent kvda is not available: ", 0), 0u)
                << r.err;
            EXPECT_NE(r.err.find(c.named), std::string::npos) << r.err;
            if (command[1] == "--format=text") {
                EXPECT_EQ(r.out, "");
            }
            if (command[1] == "--format=xml") {
                EXPECT_EQ(r.out.rfind("<Message number=\"1590\">", 0), 0u) << r.out;
                EXPECT_NE(r.out.find(c.named), std::string::npos) << r.out;
            }
            if (command[1] == "--format=json") {
                ASSERT_TRUE(Json::accept(r.out)) << r.out;
                const Json doc = Json::parse(r.out);
                EXPECT_EQ(doc.at("status"), "error");
                EXPECT_EQ(doc.at("message"), 1590);
                EXPECT_EQ(doc.at("args").at(0), "kvda");
                EXPECT_NE(doc.at("text").get<std::string>().find(c.named), std::string::npos);
            }
        }
        const Result init = Run("kvda", {"init", "--force"});
        EXPECT_EQ(init.exit, c.replaced ? 0 : 1) << init.err;
        if (!c.replaced) {
            EXPECT_NE(init.err.find("is not a regular file"), std::string::npos) << init.err;
        } else if (c.agentDir.empty()) {
            EXPECT_EQ(Run("vkreport", {"storage", "controller"}).exit, 0);
        }
        env_.erase("VK_AGENT_DIR");
    }
}

}  // namespace
