// Every product table, reached through the table registry, passes the check
// that belongs to its kind; and the registry holds exactly the tables the
// handlers hand the frame, as their descriptions show.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "os/environment.h"
#include "table_registry.h"

namespace {

namespace registry = kvclp::registry;

std::string Words(const CLPSCCDT& row) {
    return std::string(row.pCmd) + " " + row.pObj;
}

std::string TableName(const kvclp::TableRef& table) {
    return std::string(table.command) + (*table.variant != '\0' ? " (" : "") + table.variant +
           (*table.variant != '\0' ? ")" : "");
}

// A row as the description names it: its kind, request, key value and
// stylesheet.
std::string RowKey(const CLPSNVActionRow& row) {
    if (row.kind == CLPS_ROW_ACTION)
        return std::string("action ") + row.pKeyValue + " " + row.pRequest;
    std::string key = std::string("report ") + row.pRequest + " " + row.pStyleSheet;
    if (row.kind == CLPS_ROW_SELECTOR) key += std::string(" ") + row.pKeyName + "=" + row.pKeyValue;
    return key;
}

std::string Attribute(const std::string& element, const std::string& name) {
    const std::regex pattern(" " + name + "=\"([^\"]*)\"");
    std::smatch m;
    return std::regex_search(element, m, pattern) ? m[1].str() : std::string();
}

// The rows of each command's description, keyed as RowKey keys rows.
std::map<std::string, std::vector<std::string>> DescribedRows() {
    CLPSSetHostFlags(CLPS_HOST_DESCRIBE);
    const std::unique_ptr<CLPSResponse, void (*)(CLPSResponse*)> resp(
        CLPSSendRequest(0, nullptr, registry::kCommandDescriptors->data(),
                        static_cast<uint32_t>(registry::kCommandDescriptors->size()), nullptr),
        CLPSFreeResponse);
    CLPSSetHostFlags(0);
    std::map<std::string, std::vector<std::string>> rows;
    if (!resp || resp->pDataBuf == nullptr) return rows;
    const std::string xml = resp->pDataBuf;
    const std::string open = "<Command words=\"";
    for (size_t at = xml.find(open); at != std::string::npos; at = xml.find(open, at + 1)) {
        const size_t wordsEnd = xml.find('"', at + open.size());
        const size_t end = xml.find("</Command>", at);
        std::vector<std::string>& keys =
            rows[xml.substr(at + open.size(), wordsEnd - at - open.size())];
        for (const char* kind : {"<Action ", "<Report "}) {
            for (size_t r = xml.find(kind, at); r < end; r = xml.find(kind, r + 1)) {
                const std::string attrs = xml.substr(r, xml.find('>', r) - r);
                if (kind[1] == 'A') {
                    keys.push_back("action " + Attribute(attrs, "name") + " " +
                                   Attribute(attrs, "request"));
                    continue;
                }
                std::string key =
                    "report " + Attribute(attrs, "request") + " " + Attribute(attrs, "stylesheet");
                if (!Attribute(attrs, "selector").empty())
                    key += " " + Attribute(attrs, "selector") + "=" + Attribute(attrs, "value");
                keys.push_back(key);
            }
        }
    }
    return rows;
}

TEST(TableRegistry, EveryTableIsSound) {
    std::array<char, 512> problem{};
    EXPECT_EQ(CLPSCheckCCDT(registry::kCommandDescriptors->data(),
                            static_cast<uint32_t>(registry::kCommandDescriptors->size()),
                            problem.data(), problem.size()),
              0)
        << "command descriptor table: " << problem.data();

    size_t commandTables = 0;
    for (const auto* list : registry::kCommandTables) {
        for (const kvclp::TableRef& table : *list) {
            ++commandTables;
            problem[0] = '\0';
            EXPECT_EQ(CLPSNVCheckTable(table.rows.data(), static_cast<uint32_t>(table.rows.size()),
                                       problem.data(), problem.size()),
                      0)
                << TableName(table) << ": " << problem.data();
        }
    }
    EXPECT_GT(commandTables, 30u) << "the registry lists too few command tables";

    for (const auto& map : *registry::kPolicyKeywordMaps)
        EXPECT_EQ(kvsup::detail::CheckKeywordMap(map.rows), "") << map.name;
    for (const auto& map : *registry::kSettingKeywordMaps)
        EXPECT_EQ(kvsup::detail::CheckKeywordMap(map.rows), "") << map.name;
    for (const auto& masks : *registry::kMaskTables)
        EXPECT_EQ(kvsup::CheckMaskTable(masks.rows), "") << masks.name;
}

TEST(TableRegistry, HoldsExactlyTheTablesTheHandlersUse) {
    // No agent: describing sends nothing, and the alert log answers nothing.
    vk::os::SetEnvironment("VK_AGENT_DIR", "/nonexistent/vk-agents");
    std::map<std::string, std::vector<std::string>> registered;
    for (const auto* list : registry::kCommandTables) {
        for (const kvclp::TableRef& table : *list) {
            std::vector<std::string>& keys = registered[table.command];
            for (const CLPSNVActionRow& row : table.rows) keys.push_back(RowKey(row));
        }
    }
    std::map<std::string, std::vector<std::string>> described = DescribedRows();
    ASSERT_EQ(described.size(), registry::kCommandDescriptors->size());
    for (const CLPSCCDT& row : *registry::kCommandDescriptors) {
        const std::string words = Words(row);
        std::vector<std::string>& want = described[words];
        std::vector<std::string>& have = registered[words];
        std::sort(want.begin(), want.end());
        std::sort(have.begin(), have.end());
        EXPECT_EQ(have, want) << words;
        registered.erase(words);
    }
    for (const auto& [command, keys] : registered)
        ADD_FAILURE() << "the registry lists tables for '" << command << "', which no row serves";
}

// The checks refuse what each kind of table must never hold.
TEST(TableRegistry, ChecksFindTheFaultsOfEachKind) {
    using Row = kvsup::detail::KeywordRow<int32_t>;
    const struct {
        std::vector<Row> rows;
        const char* fault;
    } maps[] = {
        {{}, "no rows"},
        {{{0, "on"}, {1, nullptr}}, "no keyword"},
        {{{0, "on"}, {0, "yes"}}, "value named twice"},
        {{{0, "on"}, {1, "ON"}}, "read back as two values"},
    };
    for (const auto& c : maps) {
        EXPECT_NE(kvsup::detail::CheckKeywordMap<int32_t>(c.rows).find(c.fault), std::string::npos)
            << c.fault;
    }
    EXPECT_EQ(kvsup::detail::CheckKeywordMap<int32_t>(
                  std::vector<Row>{{0, "on"}, {1, "on", kvsup::detail::kShownOnly}}),
              "");

    using kvsup::MaskRule;
    using kvsup::Masks;
    const auto disk = [](uint32_t bit, std::size_t pair = 0) {
        return vk::MethodBit{vk::objtype::kDisk, pair, bit};
    };
    const struct {
        std::vector<kvsup::MaskRow> rows;
        const char* fault;
    } masks[] = {
        {{}, "no rows"},
        {{{"blink", Masks::kMethod, disk(0x1), MaskRule::kPlain},
          {"Blink", Masks::kMethod, disk(0x2), MaskRule::kPlain}},
         "listed twice"},
        {{{"blink", Masks::kMethod, disk(0x3), MaskRule::kPlain}}, "not one bit"},
        {{{"blink", Masks::kCurrentOnly, disk(0), MaskRule::kPlain}}, "not one bit"},
        {{{"debug", Masks::kAlways, disk(0x4), MaskRule::kPlain}}, "no mask is read"},
        {{{"blink", Masks::kMethod, disk(0x1), MaskRule::kPlain},
          {"rescan", Masks::kMethod, vk::method::controller::kRescan, MaskRule::kPlain}},
         "another kind of object"},
        {{{"convert", Masks::kMethod1, disk(0x4), MaskRule::kPlain}}, "other mask pair"},
        {{{"clear", Masks::kMethod1, disk(0x4, 1), MaskRule::kFallback}}, "needs the method masks"},
    };
    for (const auto& c : masks) {
        EXPECT_NE(kvsup::CheckMaskTable(c.rows).find(c.fault), std::string::npos) << c.fault;
    }

    CLPSResponse* (*handler)(uint32_t, const char**) = [](uint32_t, const char**) {
        return static_cast<CLPSResponse*>(nullptr);
    };
    const struct {
        std::vector<CLPSCCDT> rows;
        const char* fault;
    } commands[] = {
        {{}, "no rows"},
        {{{"vkreport storage", "pdisk", handler, 1}, {nullptr, nullptr, nullptr, 0}},
         "an empty row"},
        {{{"vkreport storage", "pdisk", handler, 3}}, "unknown rights 3"},
        {{{"vkreport storage", "pdisk", handler, 1}, {"VKREPORT  storage", "PDisk", handler, 1}},
         "listed twice"},
        {{{"vkreport storage", "p disk", handler, 1}}, "one word"},
        {{{"vkreport storage", "pdisk", nullptr, 1}}, "no handler"},
    };
    std::array<char, 256> problem{};
    for (const auto& c : commands) {
        problem[0] = '\0';
        EXPECT_NE(CLPSCheckCCDT(c.rows.data(), static_cast<uint32_t>(c.rows.size()), problem.data(),
                                problem.size()),
                  0)
            << c.fault;
        EXPECT_NE(std::string(problem.data()).find(c.fault), std::string::npos) << problem.data();
    }
}

}  // namespace
