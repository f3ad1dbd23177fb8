// The agent's tests that need what only POSIX systems have: other
// processes made with fork, other users (setuid, setpriv), file modes and
// groups, FIFOs, devices and symbolic links. Built on those systems only.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent_fixture.h"
#include "answer.h"

namespace fs = std::filesystem;
using namespace kvda;
using namespace kvda::test;

namespace {

// How runTool runs the control tool as the user nobody, or as this user.
const std::vector<std::string> kAsNobody{"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                         "--clear-groups"};
const std::vector<std::string> kAsSelf{};

TEST_F(AgentTest, ProfilesAreNeverReadFromFifosOrDevices) {
    const fs::path fifo = dir_ / "fifo.json";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const fs::path& file : {fifo, fs::path("/dev/zero"), fs::path("/dev/urandom")}) {
        try {
            readProfile(file);
            ADD_FAILURE() << "read " << file;
        } catch (const Error& e) {
            EXPECT_NE(std::string(e.what()).find("is not a regular file"), std::string::npos)
                << e.what();
        }
    }
}

TEST_F(AgentTest, StateFilesAreNotReadableByOthers) {
    const mode_t old = umask(022);
    agent();
    umask(old);
    std::optional<gid_t> admins;
    if (const group* g = getgrnam("vkadmin")) admins = g->gr_gid;
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat st {};
        ASSERT_EQ(stat((path_.string() + suffix).c_str(), &st), 0) << suffix;
        EXPECT_EQ(st.st_mode & 0777, 0640u) << suffix;
        if (admins && geteuid() == 0) {
            EXPECT_EQ(st.st_gid, *admins) << suffix;
        }
    }
}

// A report reads an estate its user may not write (a root-owned 0644 file in
// a 0755 directory), with its log and shared memory or without them: it
// answers from the stored state and writes nothing, even while an
// operation's progress is due.
TEST_F(AgentTest, AReaderAnswersFromAnEstateItMayNotWrite) {
    ask({"vkacmd=setBatteryStartLearn", "GlobalNo=0", "BatteryID=0"}, 0);
    agent_.reset();
    std::string as;  // how to run the tool as a user who may not write
    if (geteuid() == 0) {
        if (system("setpriv --version > /dev/null 2>&1") != 0)
            GTEST_SKIP() << "running as root without setpriv to become another user";
        as = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
    }
    const fs::perms file = geteuid() == 0 ? fs::perms(0644) : fs::perms(0444);
    const fs::perms dir = geteuid() == 0 ? fs::perms(0755) : fs::perms(0555);
    auto snapshot = [&] {
        std::string all;
        for (const auto& f : fs::directory_iterator(dir_)) {
            std::ifstream in(f.path(), std::ios::binary);
            all += f.path().filename().string() +
                   std::string((std::istreambuf_iterator<char>(in)), {});
        }
        return all;
    };
    for (const bool companions : {true, false}) {
        SCOPED_TRACE(companions ? "with -wal and -shm" : "the file alone");
        if (!companions) {
            Db db(path_.string());
            db.exec("PRAGMA wal_checkpoint(TRUNCATE)");
        }
        for (const char* suffix : {"-wal", "-shm"})
            if (!companions) fs::remove(path_.string() + suffix);
        for (const auto& f : fs::directory_iterator(dir_)) fs::permissions(f.path(), file);
        fs::permissions(dir_, dir);
        const std::string before = snapshot();
        const std::string cmd = as + "env KVDA_TIME_SCALE=100000 KVDA_STATE=" + path_.string() +
                                " " + VK_TEST_KVDA +
                                " send vkacmd=getBattery GlobalNo=0 BatteryID=0";
        std::string out;
        if (FILE* p = popen((cmd + " 2>&1").c_str(), "r")) {
            std::array<char, 4096> buf{};
            for (size_t n; (n = fread(buf.data(), 1, buf.size(), p)) > 0;)
                out.append(buf.data(), n);
            pclose(p);
        }
        fs::permissions(dir_, fs::perms(0755));
        for (const auto& f : fs::directory_iterator(dir_))
            fs::permissions(f.path(), fs::perms(0640));
        EXPECT_EQ(statusOf(out), 0) << out;
        auto battery = objects(out);
        ASSERT_EQ(battery.size(), 1u) << out;
        EXPECT_EQ(battery[0]["Progress"], "0");  // the progress last written
        EXPECT_EQ(snapshot(), before);
    }
    // the owner, who may write, brings the learn cycle on at the same time scale
    setenv("KVDA_TIME_SCALE", "100000", 1);
    usleep(50000);
    EXPECT_NE(ask({"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0"}).at(0)["Progress"], "0");
    EXPECT_EQ(agent().store().journalLines().size(), 2u);  // the owner's requests only
}

TEST_F(AgentTest, ChangesPersistAcrossProcessesAndConcurrentWritersLoseNothing) {
    agent();  // create the file from the default profile
    int64_t oid = find(kind::kController, 0, "0").oid;
    constexpr int kWriters = 3, kWrites = 20;
    std::vector<pid_t> kids;
    for (int w = 0; w < kWriters; ++w) {
        pid_t pid = fork();
        if (pid == 0) {
            try {
                Store s(path_);
                for (int i = 0; i < kWrites; ++i)
                    s.setOverride(oid, "T" + std::to_string(w) + "_" + std::to_string(i), "v");
                _exit(0);
            } catch (...) {
                _exit(1);
            }
        }
        kids.push_back(pid);
    }
    for (pid_t pid : kids) {
        int st = 0;
        waitpid(pid, &st, 0);
        EXPECT_TRUE(WIFEXITED(st) && WEXITSTATUS(st) == 0);
    }
    // the agent of this process sees the other processes' writes
    auto c = ask({"vkacmd=getController", "GlobalNo=0", "CLI=true"}).at(0);
    for (int w = 0; w < kWriters; ++w)
        for (int i = 0; i < kWrites; ++i)
            EXPECT_TRUE(c.count("T" + std::to_string(w) + "_" + std::to_string(i)));
}

// Nothing planted in the agent's directory makes an export write elsewhere:
// links are never followed, and a log that is not the agent's own file is
// refused; the file outside keeps its text (or is never created).
TEST_F(AgentTest, ExportLogsNeverFollowLinks) {
    const fs::path logs = dir_ / "logs", log = logs / "controller-0.log";
    const fs::path outside = dir_ / "outside", target = outside / "target";
    auto plant = [&](auto how) {
        fs::remove_all(logs);
        fs::remove_all(outside);
        fs::create_directories(outside);
        std::ofstream(target) << "keep\n";
        how();
    };
    struct Case {
        const char* what;
        std::function<void()> setup;
        const char* why;
    };
    const std::vector<Case> cases{
        {"a link to a file", [&] { fs::create_directories(logs), fs::create_symlink(target, log); },
         "symbolic link"},
        {"a dangling link",
         [&] { fs::create_directories(logs), fs::create_symlink(outside / "new.log", log); },
         "symbolic link"},
        {"logs itself a link", [&] { fs::create_directory_symlink(outside, logs); },
         "logs is a symbolic link"},
        {"a hard link", [&] { fs::create_directories(logs), fs::create_hard_link(target, log); },
         "single link"},
        {"a FIFO", [&] { fs::create_directories(logs), mkfifo(log.c_str(), 0600); }, "single link"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        plant(c.setup);
        const std::string answer = agent().send({"vkacmd=setCntrlExportLog", "GlobalNo=0"});
        EXPECT_EQ(statusOf(answer), status::kStateError) << answer;
        EXPECT_NE(answer.find(c.why), std::string::npos) << answer;
        std::ifstream in(target);
        EXPECT_EQ(std::string((std::istreambuf_iterator<char>(in)), {}), "keep\n");
        EXPECT_FALSE(fs::exists(outside / "new.log"));
        EXPECT_FALSE(fs::exists(outside / "controller-0.log"));
    }
    // The agent's own earlier log is replaced.
    plant([&] {
        fs::create_directories(logs), std::ofstream(log) << "old text, longer than the new\n";
    });
    ask({"vkacmd=setCntrlExportLog", "GlobalNo=0"});
    std::ifstream in(log);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(text.find("old text"), std::string::npos) << text;
    EXPECT_FALSE(text.empty());
}

// A user other than root without a directory of their own gets a clear
// refusal instead of an estate shared with every other user.
TEST_F(AgentTest, TheStateFileIsNeverInASharedDirectory) {
    const fs::path home = dir_ / "home";
    fs::create_directories(home);
    fs::permissions(dir_, fs::perms::all);
    fs::permissions(home, fs::perms::all);
    struct Case {
        std::vector<std::string> env;
        int exit;
        std::string says;
    };
    const std::string refusal = "kvda: no state directory of user ";
    const std::string share = "VK_SHARE_DIR=" VK_TEST_SHARE_DIR;
    // clang-format off
    const std::vector<Case> cases{
        {{share},                                          1, refusal},
        {{share, "HOME="},                                 1, refusal},
        {{share, "XDG_STATE_HOME=state", "HOME=rel"},      1, refusal},
        {{share, "HOME=" + home.string()},                 0, ""},
        {{share, "XDG_STATE_HOME=" + (home / "x").string()}, 0, ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.env.back());
        const ToolRun r = runTool({"alerts"}, c.env, geteuid() == 0 ? kAsNobody : kAsSelf);
        EXPECT_EQ(r.exit, c.exit) << r.err;
        EXPECT_EQ(r.err.substr(0, c.says.size()), c.says);
        if (c.exit != 0) {
            EXPECT_NE(r.err.find("KVDA_STATE"), std::string::npos) << r.err;
        }
    }
    EXPECT_TRUE(fs::exists(home / ".local/state/vk/kvda.db"));
    EXPECT_TRUE(fs::exists(home / "x/vk/kvda.db"));
}

TEST_F(AgentTest, TwoProcessesChangingTheEstateLoseNothing) {
    agent();
    agent_.reset();
    // each process creates virtual disks on its own disks and blinks
    const std::vector<std::vector<std::string>> jobs{{"0:0:7", "0:0:9"}, {"0:0:8", "0:0:10"}};
    std::vector<pid_t> kids;
    for (const auto& job : jobs) {
        pid_t pid = fork();
        if (pid == 0) {
            try {
                bool ok = true;
                Agent a(path_);
                for (const auto& id : job) {
                    ok &= statusOf(a.send({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=2",
                                           "adisk=" + id})) == 0;
                    for (int i = 0; i < 10; ++i)
                        ok &= statusOf(a.send(
                                  {"vkacmd=setVDBlink", "GlobalNo=0", "LogicalDriveNum=0"})) == 0;
                }
                a.store().flushJournal();  // _exit runs no destructors
                _exit(ok ? 0 : 1);
            } catch (...) {
                _exit(2);
            }
        }
        kids.push_back(pid);
    }
    for (pid_t pid : kids) {
        int st = 0;
        waitpid(pid, &st, 0);
        EXPECT_TRUE(WIFEXITED(st) && WEXITSTATUS(st) == 0);
    }
    auto vds = ask({"vkacmd=getVirtualDisksForController", "GlobalNo=0"});
    ASSERT_EQ(vds.size(), 6u);
    std::set<std::string> numbers;
    for (auto& v : vds) numbers.insert(v["LogicalDriveNum"]);
    EXPECT_EQ(numbers, (std::set<std::string>{"0", "1", "2", "3", "4", "5"}));
    for (auto id : {"0:0:7", "0:0:8", "0:0:9", "0:0:10"}) EXPECT_EQ(disk(id)["ObjState"], "4");
    // both processes' requests, and this process's five questions
    EXPECT_EQ(agent().store().journalLines().size(), 44u + 5u);
}

}  // namespace
