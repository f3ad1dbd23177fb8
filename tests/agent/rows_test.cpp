// Every request a report or configuration row of the plug-in can send gets a
// real answer from the agent: each row's request, with the pairs the row can
// carry, goes to the agent on an estate that holds every kind of object the
// rows address. The rows are the plug-in's live tables: its handlers hand
// them to the command frame, which this test stands in for. And the two
// sides share one vocabulary: every request the plug-in can name has an
// agent route, every operation bit it tests has an agent rule.
#include <gtest/gtest.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "agent.h"
#include "clps.h"
#include "handlers.h"
#include "methods.h"
#include "profile.h"
#include "store.h"
#include "table_registry.h"
#include "vocabulary.h"

namespace fs = std::filesystem;

namespace {

// One table as a handler hands it to the frame.
struct Table {
    std::string command;
    const CLPSNVActionRow* rows;
    uint32_t count;
};

std::vector<Table> g_handed;
std::string g_command;

}  // namespace

// The command frame, as far as this test needs it: it keeps the table it
// is handed and answers nothing.
extern "C" CLPSResponse* CLPSNVCmdConfigFunc(uint32_t, const char**, uint32_t, uint32_t,
                                             const CLPSNVActionRow* table, uint32_t rowCount,
                                             const char*, CLPSNVValidateFunc) {
    g_handed.push_back({g_command, table, rowCount});
    return nullptr;
}

namespace {

// The handlers and the words that make each choose each of its tables.
struct Route {
    const char* command;
    CLPSHandlerFunc handler;
    std::vector<const char*> words;
};

// clang-format off
const Route kRoutes[] = {
    {"vkreport storage adisk",         ReportArrayDisks,    {}},
    {"vkreport storage adisk",         ReportArrayDisks,    {"cachecade=2"}},
    {"vkreport storage adisk",         ReportArrayDisks,    {"enclosure=0:0"}},
    {"vkreport storage pdisk",         ReportPhysicalDisks, {}},
    {"vkreport storage pdisk",         ReportPhysicalDisks, {"cachecade=2"}},
    {"vkreport storage pdisk",         ReportPhysicalDisks, {"enclosure=0:0"}},
    {"vkreport storage tape",          ReportTapeDrives,    {}},
    {"vkreport storage pciessd",       ReportPCIeSubsystem, {}},
    {"vkreport storage tarncache",     ReportTarnCache,     {}},
    {"vkreport storage tarncachepool", ReportTarnCachePool, {}},
    {"vkreport storage controller",    ReportControllers,   {}},
    {"vkreport storage controller",    ReportControllers,   {"dump=all"}},
    {"vkreport storage vdisk",         ReportVirtualDisks,  {}},
    {"vkreport storage cachecade",     ReportCachecade,     {}},
    {"vkreport storage connector",     ReportConnectors,    {}},
    {"vkreport storage nvmeadapter",   ReportNVMeAdapters,  {}},
    {"vkreport storage enclosure",     ReportEnclosures,    {}},
    {"vkreport storage battery",       ReportBatteries,     {}},
    {"vkreport storage partition",     ReportPartitions,    {}},
    {"vkreport storage tarncachedisk", ReportCachedLuns,    {}},
    {"vkreport storage globalinfo",    ReportGlobalInfo,    {}},
    {"vkreport system summary",        ReportSummary,       {}},
    {"vkreport system version",        ReportVersion,       {}},
    {"vkconfig storage controller",    ConfigController,    {}},
    {"vkconfig storage vdisk",         ConfigVirtualDisk,   {}},
    {"vkconfig storage cachecade",     ConfigCachecade,     {}},
    {"vkconfig storage adisk",         ConfigArrayDisk,     {}},
    {"vkconfig storage pdisk",         ConfigPhysicalDisk,  {}},
    {"vkconfig storage connector",     ConfigConnector,     {}},
    {"vkconfig storage nvmeadapter",   ConfigNVMeAdapter,   {}},
    {"vkconfig storage enclosure",     ConfigEnclosure,     {}},
    {"vkconfig storage globalinfo",    ConfigGlobalInfo,    {}},
    {"vkconfig storage globalinfo",    ConfigGlobalInfo,    {"action=servicerequest"}},
    {"vkconfig storage globalinfo",    ConfigGlobalInfo,    {"action=service_replacemissingpdisk"}},
    {"vkconfig storage globalinfo",    ConfigGlobalInfo,    {"action=service_patrolreadrate"}},
    {"vkconfig storage globalinfo",    ConfigGlobalInfo,    {"action=service_dumpstore"}},
    {"vkconfig storage globalinfo",    ConfigGlobalInfo,    {"action=service_changelearnmode"}},
    {"vkconfig storage battery",       ConfigBattery,       {}},
    {"vkconfig storage pciessd",       ConfigPCIeSubsystem, {}},
    {"vkconfig storage tarncache",     ConfigTarnCache,     {}},
    {"vkconfig storage partition",     ConfigPartition,     {}},
    {"vkconfig storage tarncachedisk", ConfigTarnCacheDisk, {}},
};
// clang-format on

// Every table of the plug-in, once each. The walk below takes any list of
// tables; this one comes from asking the handlers.
std::vector<Table> PluginTables() {
    g_handed.clear();
    for (const Route& route : kRoutes) {
        g_command = route.command;
        std::vector<const char*> words = route.words;
        route.handler(static_cast<uint32_t>(words.size()), words.data());
    }
    std::vector<Table> tables;
    for (const Table& t : g_handed) {
        if (std::none_of(tables.begin(), tables.end(),
                         [&](const Table& seen) { return seen.rows == t.rows; }))
            tables.push_back(t);
    }
    return tables;
}

// An estate with every kind of object the rows address: a RAID controller
// (0) with a shelf, free and foreign disks, a hot spare, a tape drive, a
// mirror with partitions, a RAID 5, a cachecade (2), a battery and an NVMe
// adapter; a PCIe subsystem (1); a cached LUN.
constexpr const char* kEstate = R"({
  "controllers": [
    { "name": "Rows RAID", "mode": "raid", "security": "keyed", "cachecade": true,
      "alarm": true, "power_management": true, "patrol_read": "manual",
      "raid_levels": ["concat", "r0", "r1", "r5", "r6", "r10", "r50", "r1c", "r60", "r1e"],
      "stripe_sizes": ["512b", "1kb", "2kb", "4kb", "8kb", "16kb", "32kb", "64kb", "128kb",
                       "256kb", "512kb", "1mb", "2mb", "4mb", "8mb", "16mb"],
      "read_policies": ["rc", "nrc", "ra", "ara", "nra"],
      "write_policies": ["wc", "nwc", "wb", "wt", "wea", "fwb"],
      "cache_policies": ["d", "c"],
      "disk_cache_policies": ["unchanged", "enabled", "disabled", "default"],
      "batteries": [ { "state": "ready" } ],
      "connectors": [ { "protocol": "sas",
        "enclosures": [ { "type": "shelf", "slots": 24, "fans": 2, "power_supplies": 2,
                          "emms": 2, "probes": 2 } ],
        "disks": [
          { "enclosure": 0, "slot": 0 }, { "enclosure": 0, "slot": 1 },
          { "enclosure": 0, "slot": 2 }, { "enclosure": 0, "slot": 3 },
          { "enclosure": 0, "slot": 4 }, { "enclosure": 0, "slot": 5, "hotspare": true },
          { "enclosure": 0, "slot": 6 }, { "enclosure": 0, "slot": 7 },
          { "enclosure": 0, "slot": 8, "media": "ssd" }, { "enclosure": 0, "slot": 9, "media": "ssd" },
          { "enclosure": 0, "slot": 10, "media": "ssd" },
          { "enclosure": 0, "slot": 11, "state": "foreign" },
          { "enclosure": 0, "slot": 12, "state": "nonraid" }
        ],
        "tapes": [ { "target": 20 } ] } ],
      "vdisks": [
        { "name": "Mirror", "raid": "r1", "disks": ["0:0:0", "0:0:1"],
          "partitions": [ { "path": "/dev/sda1", "length_gb": 10 } ] },
        { "name": "Data", "raid": "r5", "disks": ["0:0:2", "0:0:3", "0:0:4"] },
        { "name": "Cache", "cachecade": true, "disks": ["0:0:8"] }
      ],
      "nvme_adapters": [ { } ] },
    { "name": "Rows PCIe", "pcie_subsystem": true, "mode": "hba",
      "connectors": [ { "protocol": "pcie",
        "enclosures": [ { "type": "backplane", "slots": 4 } ],
        "disks": [ { "enclosure": 0, "slot": 0 }, { "enclosure": 0, "slot": 1 } ] } ] }
  ],
  "cached_luns": [ { "name": "lun0", "controller": 0, "vdisk": 0 } ]
})";

// The value a user gives for each parameter a row takes, on that estate.
// clang-format off
const std::map<std::string, std::string, std::less<>> kValues{
    {"controller", "0"},         {"subsystem", "1"},          {"pciedevice", "0:0:0"},
    {"adisk", "0:0:6"},          {"pdisk", "0:0:6"},          {"vdisk", "1"},
    {"cachecade", "2"},          {"connector", "0"},          {"enclosure", "0:0"},
    {"battery", "0"},            {"tape", "0:20"},            {"nvmeid", "0"},
    {"index", "0"},              {"rate", "55"},              {"name", "Rows"},
    {"size", "1g"},              {"sizeinpercent", "10"},     {"Filename", "rows.log"},
    {"keyid", "RowsKey"},        {"passphrase", "Rows-Pass1"}, {"oldpassphrase", "Rows-Pass0"},
    {"lkmpassphrase", "Rows-Pass0"}, {"escrow", "yes"},       {"filepath", "rows.xml"},
    {"spanlength", "2"},         {"days", "1"},               {"hours", "2"},
    {"minwarn", "6"},            {"maxwarn", "44"},           {"servicetag", "TAG1"},
    {"assettag", "Asset1"},      {"assetname", "Rows asset"}, {"tarncachedisk", "lun0"},
    {"devicename", "/dev/sdb"},  {"cachepolicy", "wb"},       {"hscount", "2"},
    {"warnlevel", "1"},          {"threshold", "20"},         {"newpdisk", "0:0:7"},
    {"oldpdisk", "0:0:3"},       {"source", "0:0:2"},         {"destination", "0:0:7"},
    {"bgirate", "45"},           {"checkconsistencyrate", "45"}, {"reconstructrate", "45"},
    {"rebuildrate", "45"},       {"spindowntimeinterval", "60"}, {"spinupstarttime", "01:00"},
    {"spinuptimeinterval", "4"}, {"SecureFlag", "yes"},         {"VdPIEnabled", "yes"},
};
// clang-format on

// Pairs that the plug-in's checks send only in company: a list that holds
// the key pair gets the pairs of set (replacing one of the same name), the
// pairs of add when it has none of that name, and loses those of drop.
struct Company {
    std::string_view key;  // a whole pair, or a name ending in '='
    std::vector<std::string_view> set, add, drop;
};
// clang-format off
const Company kCompany[] = {
    // A span length is taken by spanned layouts only.
    {"SpanLength=",           {"Layout=512"}, {},                          {}},
    // A dedicated hot spare policy says whether global spares count, and
    // takes no RAID level; a global one takes a RAID level.
    {"includeghsinvdstate=",  {"type=dhs"},   {},                          {}},
    {"type=dhs",              {},             {"includeghsinvdstate=yes"}, {"Layout="}},
    {"type=ghs",              {},             {"Layout=4"},                {}},
};
// clang-format on

std::string NameOf(std::string_view pair) {
    return std::string(pair.substr(0, pair.find('=') + 1));
}

void KeepCompany(std::vector<std::string>& list) {
    const auto named = [&](std::string_view name) {
        return std::find_if(list.begin() + 1, list.end(),
                            [&](const std::string& p) { return NameOf(p) == name; });
    };
    for (const Company& c : kCompany) {
        const bool present = std::any_of(list.begin() + 1, list.end(), [&](const std::string& p) {
            return c.key.ends_with('=') ? NameOf(p) == c.key : p == c.key;
        });
        if (!present) continue;
        for (std::string_view pair : c.set) {
            if (auto at = named(NameOf(pair)); at != list.end())
                *at = pair;
            else
                list.emplace_back(pair);
        }
        for (std::string_view pair : c.add)
            if (named(NameOf(pair)) == list.end()) list.emplace_back(pair);
        for (std::string_view name : c.drop)
            std::erase_if(list, [&](const std::string& p) { return NameOf(p) == name; });
    }
}

bool IsKeyword(uint32_t usage) {
    return usage == CLPS_USE_OPT_KEYWORD || usage == CLPS_USE_GROUP_KEYWORD ||
           usage == CLPS_USE_REQ_KEYWORD;
}

using Pairs = std::vector<std::string>;

// Parameters the first list gives. The members of a property group are
// given together (the frame wants at least one), and a disk list too: the
// commands that take one refuse to go without it.
bool InFirstList(const CLPSNVParamRow& p) {
    return p.usage == CLPS_USE_REQUIRED || p.usage == CLPS_USE_MUST_GIVE ||
           p.usage == CLPS_USE_GROUP || p.usage == CLPS_USE_GROUP_KEYWORD ||
           p.usage == CLPS_USE_REQ_KEYWORD || p.valueType == CLPS_VT_DISK_LIST;
}

// The lists a row can send. The first holds what the row always sends (its
// request, its fixed pairs, the values of its required parameters) and the
// first keyword of each keyword parameter it must or usually gets (see
// InFirstList). Each further list makes one change to the first: one
// optional parameter given, or one other keyword chosen; so every pair the
// row can carry goes out, in the company the row requires. Of parameters
// that send the same pair (adisk and pdisk) only the first is given. missing
// names a parameter without a value in kValues.
std::vector<Pairs> RequestsOf(const CLPSNVActionRow& row, std::string& missing) {
    struct Keywords {
        std::string user;
        bool inFirst;
        std::vector<std::string> pairs;
    };
    Pairs base{row.pRequest};
    std::vector<std::string> optional;
    std::vector<Keywords> keywords;
    std::set<std::string> prefixes;
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.usage == CLPS_USE_MUST_NOT_GIVE || p.pOutput == nullptr) continue;
        const std::string user = p.pUserName != nullptr ? p.pUserName : "";
        if (p.pUserName == nullptr || p.usage == CLPS_USE_FIXED) {
            base.push_back(std::string(p.pOutput) + (p.pMatchValue ? p.pMatchValue : ""));
        } else if (IsKeyword(p.usage) || !std::string_view(p.pOutput).ends_with("=")) {
            // A keyword, or a parameter that sends its own complete pair.
            auto group = std::find_if(keywords.begin(), keywords.end(),
                                      [&](const Keywords& k) { return k.user == user; });
            if (group == keywords.end())
                group = keywords.insert(keywords.end(), {user, InFirstList(p), {}});
            group->pairs.push_back(p.pOutput);
        } else if (prefixes.insert(p.pOutput).second) {
            std::string value;
            if (row.pKeyName != nullptr && user == row.pKeyName) {
                value = row.pKeyValue;
            } else if (const auto found = kValues.find(user); found != kValues.end()) {
                value = found->second;
            } else {
                missing = user;
            }
            (InFirstList(p) ? base : optional).push_back(p.pOutput + value);
        }
    }
    for (const Keywords& k : keywords)
        if (k.inFirst) base.push_back(k.pairs.front());
    std::vector<Pairs> lists{base};
    for (const std::string& pair : optional) {
        lists.push_back(base);
        lists.back().push_back(pair);
    }
    for (const Keywords& k : keywords) {
        for (const std::string& pair : k.pairs) {
            if (k.inFirst && pair == k.pairs.front()) continue;
            Pairs list = base;
            if (k.inFirst)
                std::replace(list.begin(), list.end(), k.pairs.front(), pair);
            else
                list.push_back(pair);
            lists.push_back(std::move(list));
        }
    }
    for (Pairs& list : lists) KeepCompany(list);
    return lists;
}

int StatusOf(const std::string& answer) {
    const auto at = answer.find("<SMStatus>");
    return at == std::string::npos ? -1 : std::atoi(answer.c_str() + at + 10);
}

std::string Joined(const Pairs& pairs) {
    std::string text;
    for (const std::string& p : pairs) text += (text.empty() ? "" : " ") + p;
    return text;
}

class AgentRowsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setenv("VK_SHARE_DIR", VK_TEST_SHARE_DIR, 1);
        setenv("KVDA_TIME_SCALE", "0", 1);
        dir_ = fs::temp_directory_path() / ("kvda-rows-" + std::to_string(getpid()));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        kvda::Store(dir_ / "estate.db").replace(kvda::buildEstate(kEstate, "rows estate"), "rows");
    }
    void TearDown() override { fs::remove_all(dir_); }

    // The answer to one request on a fresh copy of the estate, so that no
    // change made for one row meets the next.
    std::string Ask(const Pairs& pairs) {
        for (const char* suffix : {"", "-wal", "-shm"})
            fs::remove(dir_ / (std::string("work.db") + suffix));
        fs::copy_file(dir_ / "estate.db", dir_ / "work.db");
        kvda::Agent agent(dir_ / "work.db");
        return agent.send(pairs);
    }

    fs::path dir_;
};

// A request the agent does not know, or that lacks or mangles what it
// needs, can never be carried out; a refusal because of the estate's state
// (status 8) is an answer.
TEST_F(AgentRowsTest, EveryRowOfEveryTableGetsARealAnswer) {
    const std::vector<Table> tables = PluginTables();
    ASSERT_GE(tables.size(), 30u);
    size_t asked = 0;
    for (const Table& table : tables) {
        for (uint32_t r = 0; r < table.count; ++r) {
            const CLPSNVActionRow& row = table.rows[r];
            std::string missing;
            const std::vector<Pairs> lists = RequestsOf(row, missing);
            EXPECT_EQ(missing, "")
                << table.command << " " << row.pRequest << ": a parameter without a value";
            for (const Pairs& pairs : lists) {
                const std::string answer = Ask(pairs);
                const int status = StatusOf(answer);
                ++asked;
                EXPECT_TRUE(status == kvda::status::kOk || status == kvda::status::kNotPossible)
                    << table.command << " (" << (row.pKeyValue ? row.pKeyValue : "-")
                    << "): " << Joined(pairs) << "\n"
                    << answer;
            }
        }
    }
    EXPECT_GE(asked, 200u);
}

// Every request a row names is one of the shared vocabulary, and the agent
// routes exactly the vocabulary: the checks' request builders take nothing
// but its names, so nothing the plug-in can send goes unanswered, and the
// agent answers nothing the plug-in could not name.
TEST(Vocabulary, EveryRequestThePluginCanSendHasAnAgentRoute) {
    std::set<std::string_view> vocabulary;
    for (const vk::RequestName r : vk::AllRequests()) vocabulary.insert(r.name());
    std::set<std::string_view> routed;
    for (const vk::RequestName r : kvda::knownRequests()) routed.insert(r.name());
    EXPECT_EQ(routed, vocabulary);

    size_t rows = 0;
    for (const auto* tables : kvclp::registry::kCommandTables) {
        for (const kvclp::TableRef& table : *tables) {
            for (const CLPSNVActionRow& row : table.rows) {
                const std::string_view request = row.pRequest;
                ++rows;
                ASSERT_TRUE(request.starts_with(vk::kRequestKey))
                    << table.command << ": " << request;
                const std::string_view name = request.substr(vk::kRequestKey.size());
                EXPECT_TRUE(vocabulary.contains(name)) << table.command << ": " << request;
                EXPECT_TRUE(kvda::knownRequest(name)) << table.command << ": " << request;
            }
        }
    }
    EXPECT_GE(rows, 200u);
}

// The kinds of object whose masks a command's actions are checked against,
// by the command's object word.
// clang-format off
const std::map<std::string_view, std::vector<std::string_view>> kCheckedObjects{
    {"controller",    {vk::objtype::kController}},
    {"vdisk",         {vk::objtype::kVdisk, vk::objtype::kPartition}},
    {"cachecade",     {vk::objtype::kVdisk}},
    {"adisk",         {vk::objtype::kDisk}},
    {"pdisk",         {vk::objtype::kDisk}},
    {"pciessd",       {vk::objtype::kDisk}},
    {"connector",     {vk::objtype::kConnector}},
    {"nvmeadapter",   {vk::objtype::kNvme}},
    {"enclosure",     {vk::objtype::kEnclosure, vk::objtype::kStorage}},
    {"battery",       {vk::objtype::kBattery}},
    {"globalinfo",    {vk::objtype::kStorage}},
    {"partition",     {vk::objtype::kPartition}},
    {"tarncachedisk", {vk::objtype::kCachedLun}},
};
// clang-format on

std::string Describe(const vk::MethodBit& b) {
    char bit[16];
    std::snprintf(bit, sizeof bit, "0x%x", b.bit);
    return std::string(b.object) + " " + std::string(vk::kMethodMaskTags[b.pair].current) + " " +
           bit;
}

// Every operation bit the plug-in tests before it sends an action (or a
// selected report) has an agent rule that sets it, so the masks can offer
// what the plug-in asks for; and every bit the agent's rules set is one the
// plug-in's mask tables read.
TEST(Vocabulary, EveryOperationThePluginChecksHasAnAgentRule) {
    const std::vector<vk::MethodBit> ruled = kvda::ruledMethodBits();
    const auto isRuled = [&](const vk::MethodBit& b) {
        return std::find(ruled.begin(), ruled.end(), b) != ruled.end();
    };

    std::vector<kvsup::MaskRow> maskRows;
    for (const kvsup::MaskTableRef& table : *kvclp::registry::kMaskTables)
        for (const kvsup::MaskRow& row : table.rows)
            if (!row.operation.object.empty()) maskRows.push_back(row);

    size_t checked = 0;
    for (const auto* tables : kvclp::registry::kCommandTables) {
        for (const kvclp::TableRef& table : *tables) {
            const std::string_view command = table.command;
            const auto objects = kCheckedObjects.find(command.substr(command.rfind(' ') + 1));
            if (objects == kCheckedObjects.end()) continue;
            for (const CLPSNVActionRow& row : table.rows) {
                if (row.pKeyValue == nullptr) continue;
                for (const kvsup::MaskRow& mask : maskRows) {
                    if (strcasecmp(mask.action, row.pKeyValue) != 0 ||
                        std::find(objects->second.begin(), objects->second.end(),
                                  mask.operation.object) == objects->second.end())
                        continue;
                    ++checked;
                    EXPECT_TRUE(isRuled(mask.operation))
                        << command << " " << row.pKeyValue << ": no agent rule sets "
                        << Describe(mask.operation);
                }
            }
        }
    }
    EXPECT_GE(checked, 100u);

    for (const vk::MethodBit& b : ruled) {
        EXPECT_TRUE(std::any_of(maskRows.begin(), maskRows.end(),
                                [&](const kvsup::MaskRow& m) { return m.operation == b; }))
            << "the plug-in never reads " << Describe(b);
    }
}

}  // namespace
