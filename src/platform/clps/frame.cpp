// The table-driven command frame: picks the table row a command line asks
// for, turns the user's name=value words into the data-agent request the row
// prescribes, lets the object's callback check it, and sends it (or, in a
// dry run, shows what would have been sent). Also the strings kept for the
// callbacks and the table check.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "clps.h"
#include "clps_util.h"
#include "frame_internal.h"
#include "nearest_words.h"
#include "ocs.h"
#include "vkdb.h"

namespace {

using clps::EqualsIgnoreCase;
using ResponsePtr = std::unique_ptr<CLPSResponse, clps::ResponseDeleter>;
namespace fr = clps::frame;

// Strings handed out by CLPSNVKeepString during one frame call. Each call
// installs its own arena and restores the enclosing one when it returns.
using Arena = std::deque<std::string>;
thread_local Arena* t_arena = nullptr;

class ArenaScope {
  public:
    ArenaScope() : previous_(t_arena) { t_arena = &arena_; }
    ~ArenaScope() { t_arena = previous_; }
    ArenaScope(const ArenaScope&) = delete;
    ArenaScope& operator=(const ArenaScope&) = delete;

  private:
    Arena arena_;
    Arena* previous_;
};

constexpr std::string_view kNoParams = "None - this command takes no parameters";

struct Word {
    std::string_view name;
    std::string_view value;
};

// The command line as the frame sees it.
struct Command {
    std::string object;                  // the object keyword: last of the command words
    std::vector<Word> words;             // the name=value words, in order
    std::vector<const char*> userWords;  // the same as the callbacks read them
    std::string stray;                   // a word among them that is not name=value
    std::string twice;                   // a name given more than once

    const Word* Find(std::string_view name) const {
        for (const Word& w : words) {
            if (EqualsIgnoreCase(w.name, name)) return &w;
        }
        return nullptr;
    }
};

Command ParseCommand(uint32_t argc, const char** argv) {
    Command cmd;
    const std::string words = clps::CommandWords(argc, argv);
    const size_t blank = words.rfind(' ');
    cmd.object = blank == std::string::npos ? words : words.substr(blank + 1);
    bool inWords = false;
    for (uint32_t i = 0; argv != nullptr && i < argc; ++i) {
        if (argv[i] == nullptr) continue;
        const std::string_view arg = argv[i];
        const size_t eq = arg.find('=');
        if (eq == std::string_view::npos) {
            if (inWords && cmd.stray.empty()) cmd.stray = arg;
            continue;
        }
        inWords = true;
        cmd.userWords.push_back(argv[i]);
        const Word w{arg.substr(0, eq), arg.substr(eq + 1)};
        if (w.name.empty()) {
            if (cmd.stray.empty()) cmd.stray = arg;
            continue;
        }
        if (cmd.Find(w.name) != nullptr) {
            if (cmd.twice.empty()) cmd.twice = w.name;
            continue;
        }
        cmd.words.push_back(w);
    }
    return cmd;
}

struct Refusal {
    uint32_t msgId = 0;
    std::string arg1;
    std::string arg2;
};

CLPSResponse* Respond(const Refusal& r, const char* styleSheet) {
    return CLPSNVSetupMsgRespObj(r.msgId, 0, r.arg1.c_str(), r.arg2.c_str(), nullptr, nullptr,
                                 styleSheet);
}

std::string NamesOrNone(const std::vector<std::string_view>& names) {
    return names.empty() ? std::string(kNoParams) : fr::Join(names, ", ");
}

bool IsHidden(const CLPSNVActionRow& row) {
    return (row.flags & CLPS_ROW_HIDDEN) != 0;
}

std::vector<std::string_view> VisibleActions(const CLPSNVActionRow* table, uint32_t rowCount) {
    std::vector<std::string_view> actions;
    for (uint32_t r = 0; r < rowCount; ++r) {
        if (table[r].kind == CLPS_ROW_ACTION && !IsHidden(table[r]) &&
            table[r].pKeyValue != nullptr)
            actions.emplace_back(table[r].pKeyValue);
    }
    return actions;
}

// The names a row lets the user give: its parameters (those that must not
// be given aside) and, for a selector row, the selector.
bool RowTakes(const CLPSNVActionRow& row, std::string_view name) {
    if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr &&
        EqualsIgnoreCase(row.pKeyName, name))
        return true;
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.pUserName != nullptr && p.usage != CLPS_USE_MUST_NOT_GIVE &&
            EqualsIgnoreCase(p.pUserName, name))
            return true;
    }
    return false;
}

// Presence rules of a report row, its selector, and no word it does not take.
bool ReportRowMatches(const CLPSNVActionRow& row, const Command& cmd) {
    if (row.kind == CLPS_ROW_SELECTOR) {
        const Word* sel = row.pKeyName != nullptr ? cmd.Find(row.pKeyName) : nullptr;
        if (sel == nullptr || row.pKeyValue == nullptr ||
            !EqualsIgnoreCase(sel->value, row.pKeyValue))
            return false;
    }
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.pUserName == nullptr) continue;
        const bool given = cmd.Find(p.pUserName) != nullptr;
        if (p.usage == CLPS_USE_MUST_GIVE && !given) return false;
        if (p.usage == CLPS_USE_MUST_NOT_GIVE && given) return false;
    }
    return std::all_of(cmd.words.begin(), cmd.words.end(),
                       [&](const Word& w) { return RowTakes(row, w.name); });
}

// "controller=<number> adisk=<disk>" for the refusal that lists what a
// report takes.
std::string ReportRowSynopsis(const CLPSNVActionRow& row) {
    std::vector<std::string> parts;
    if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr && row.pKeyValue != nullptr)
        parts.push_back(std::string(row.pKeyName) + "=" + row.pKeyValue);
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.pUserName == nullptr || !fr::IsRequiredRow(p)) continue;
        if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr &&
            EqualsIgnoreCase(p.pUserName, row.pKeyName))
            continue;
        std::string part = std::string(p.pUserName) + "=<" + fr::TypeName(p.valueType) + ">";
        if (std::find(parts.begin(), parts.end(), part) == parts.end()) parts.push_back(part);
    }
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : " ") + part;
    return text.empty() ? "(no parameters)" : text;
}

// The parameter rows of one user name in a row.
std::vector<const CLPSNVParamRow*> RowsOf(const CLPSNVActionRow& row, std::string_view name) {
    std::vector<const CLPSNVParamRow*> rows;
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.pUserName != nullptr && p.usage != CLPS_USE_MUST_NOT_GIVE &&
            EqualsIgnoreCase(p.pUserName, name))
            rows.push_back(&p);
    }
    return rows;
}

// What the user should have given for a parameter: its keywords, or the
// form of its value.
std::string ExpectedFor(const CLPSNVActionRow& row, std::string_view name) {
    const auto keywords = fr::KeywordsOf(row.pParams, row.paramCount, name);
    if (!keywords.empty()) return fr::Join(keywords, ", ");
    for (const CLPSNVParamRow* p : RowsOf(row, name)) {
        if (!fr::IsFixedRow(*p)) return fr::DescribeForm(*p);
    }
    return "a value";
}

// Checks the user's words against one row: words it does not take,
// required parameters not given, values of the wrong form.
std::optional<Refusal> CheckRow(const CLPSNVActionRow& row, const Command& cmd) {
    const std::vector<std::string_view> names = fr::UserNames(row.pParams, row.paramCount);
    auto isKey = [&](std::string_view name) {
        return (row.kind == CLPS_ROW_ACTION || row.kind == CLPS_ROW_SELECTOR) &&
               row.pKeyName != nullptr && EqualsIgnoreCase(row.pKeyName, name);
    };

    // Words the row does not take.
    for (const Word& w : cmd.words) {
        if (!RowsOf(row, w.name).empty()) continue;
        if (isKey(w.name)) continue;
        return Refusal{CLPS_MSG_UNEXPECTED_PARAM, std::string(w.name), NamesOrNone(names)};
    }
    // Required parameters typed by the user (keyword choices and property
    // groups come after the object's own checks: see MissingChoice).
    for (std::string_view name : names) {
        if (cmd.Find(name) != nullptr) continue;
        const auto rows = RowsOf(row, name);
        if (std::any_of(rows.begin(), rows.end(), [](const CLPSNVParamRow* p) {
                return fr::IsRequiredRow(*p) && !fr::IsKeywordRow(*p);
            }))
            return Refusal{CLPS_MSG_MISSING_PARAM, std::string(name), ExpectedFor(row, name)};
    }
    // Values: a keyword among those listed, or a value of the row's type.
    for (const Word& w : cmd.words) {
        const auto rows = RowsOf(row, w.name);
        if (rows.empty()) continue;
        const std::string pair = std::string(w.name) + "=" + std::string(w.value);
        const CLPSNVParamRow* typed = nullptr;
        bool hasKeywords = false;
        bool keywordMatched = false;
        for (const CLPSNVParamRow* p : rows) {
            if (fr::IsFixedRow(*p)) continue;
            if (fr::IsKeywordRow(*p)) {
                hasKeywords = true;
                keywordMatched = keywordMatched || EqualsIgnoreCase(p->pMatchValue, w.value);
            } else if (typed == nullptr) {
                typed = p;
            }
        }
        if (keywordMatched) continue;
        if (typed != nullptr) {
            CLPSNVParamRow checked = *typed;
            // A report row's number carries a format pattern ("6" for an
            // index), not a limit: an enclosure may have more than seven fans.
            const bool number = checked.valueType == CLPS_VT_UINT ||
                                checked.valueType == CLPS_VT_SMALL_UINT ||
                                checked.valueType == CLPS_VT_RATE;
            if (row.kind != CLPS_ROW_ACTION && number) checked.pMatchValue = nullptr;
            if (!fr::IsValueOfType(checked, w.value))
                return Refusal{CLPS_MSG_BAD_VALUE, pair, fr::DescribeForm(checked)};
            continue;
        }
        if (hasKeywords) {
            return Refusal{CLPS_MSG_BAD_KEYWORD, pair,
                           fr::Join(fr::KeywordsOf(row.pParams, row.paramCount, w.name), ", ")};
        }
        // Only fixed rows carry this name: their pair is sent whatever was given.
    }
    return std::nullopt;
}

// The data-agent list of a row: its request, then one pair per parameter
// row that applies.
std::vector<std::string> BuildList(const CLPSNVActionRow& row, const Command& cmd) {
    std::vector<std::string> list;
    list.emplace_back(row.pRequest);
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (fr::IsFixedRow(p)) {
            list.push_back(std::string(p.pOutput) + p.pMatchValue);
            continue;
        }
        if (p.usage == CLPS_USE_MUST_NOT_GIVE || p.pUserName == nullptr || p.pOutput == nullptr)
            continue;
        const Word* w = cmd.Find(p.pUserName);
        if (w == nullptr) continue;
        if (fr::IsKeywordRow(p)) {
            if (EqualsIgnoreCase(p.pMatchValue, w->value)) list.emplace_back(p.pOutput);
        } else {
            list.push_back(std::string(p.pOutput) + std::string(w->value));
        }
    }
    return list;
}

// A required keyword not given, or a property group without any member.
// Checked after the object's callback: objects answer these with numbers of
// their own ("nothing to change", "say whether to force"), which tell the user
// more than the frame's generic refusal; the frame still refuses what the
// callback let through, so nothing incomplete is ever sent.
std::optional<Refusal> MissingChoice(const CLPSNVActionRow& row, const Command& cmd) {
    const std::vector<std::string_view> names = fr::UserNames(row.pParams, row.paramCount);
    for (std::string_view name : names) {
        if (cmd.Find(name) != nullptr) continue;
        const auto rows = RowsOf(row, name);
        if (std::any_of(rows.begin(), rows.end(), [](const CLPSNVParamRow* p) {
                return fr::IsRequiredRow(*p) && fr::IsKeywordRow(*p);
            }))
            return Refusal{CLPS_MSG_MISSING_PARAM, std::string(name), ExpectedFor(row, name)};
    }
    std::vector<std::string_view> group;
    bool groupGiven = false;
    for (std::string_view name : names) {
        const auto rows = RowsOf(row, name);
        if (std::any_of(rows.begin(), rows.end(),
                        [](const CLPSNVParamRow* p) { return fr::IsGroupRow(*p); })) {
            group.push_back(name);
            groupGiven = groupGiven || cmd.Find(name) != nullptr;
        }
    }
    if (!group.empty() && !groupGiven) {
        return Refusal{CLPS_MSG_MISSING_GROUP,
                       row.pKeyValue != nullptr ? row.pKeyValue : cmd.object,
                       fr::Join(group, ", ")};
    }
    return std::nullopt;
}

// One row chosen for sending, with its list after the callback.
struct Prepared {
    const CLPSNVActionRow* row;
    std::vector<std::string> pairs;
};

// Runs the callback on a list; its own entries come back in pairs.
std::optional<Refusal> RunCallback(CLPSNVValidateFunc validate,
                                   const std::vector<const char*>& userWords,
                                   std::vector<std::string>& pairs) {
    if (validate == nullptr) return std::nullopt;
    if (pairs.size() > CLPS_NV_LIST_MAX) return Refusal{CLPS_MSG_OUT_OF_MEMORY, "", ""};
    std::array<const char*, CLPS_NV_LIST_MAX> list{};
    uint32_t count = static_cast<uint32_t>(pairs.size());
    for (uint32_t i = 0; i < count; ++i) list[i] = pairs[i].c_str();
    // The callback reads the user's name=value words; the command words are
    // not among them.
    std::vector<const char*> words = userWords;
    std::vector<char> err1(CLPS_ERR_TEXT_SIZE, '\0');
    std::vector<char> err2(CLPS_ERR_TEXT_SIZE, '\0');
    const int32_t status =
        validate(nullptr, nullptr, static_cast<uint32_t>(words.size()), words.data(), &count,
                 list.data(), nullptr, nullptr, err1.data(), err2.data());
    err1.back() = '\0';
    err2.back() = '\0';
    if (status != CLPS_VALIDATE_SEND)
        return Refusal{static_cast<uint32_t>(status), err1.data(), err2.data()};
    // The callback may only have written inside the list it was given.
    count = std::min<uint32_t>(count, CLPS_NV_LIST_MAX);
    std::vector<std::string> after;
    for (uint32_t i = 0; i < count; ++i) {
        if (list[i] != nullptr) after.emplace_back(list[i]);
    }
    pairs = std::move(after);
    return std::nullopt;
}

// A value no identifier can have: the object's checks refuse it and name
// what would have been valid.
constexpr std::string_view kProbeValue = "?";

// A required identifier the line does not give: the object's own checks are
// asked what it may be (with a value none accepts), so the refusal lists the
// controllers, disks or batteries that exist rather than only the form.
void ListWhatExists(Refusal& missing, const CLPSNVActionRow& row, const Command& cmd,
                    CLPSNVValidateFunc validate) {
    if (validate == nullptr || !fr::KeywordsOf(row.pParams, row.paramCount, missing.arg1).empty())
        return;
    Command probe = cmd;
    const std::string probeWord = missing.arg1 + "=" + std::string(kProbeValue);
    probe.userWords.push_back(probeWord.c_str());
    probe.words.push_back({missing.arg1, kProbeValue});
    std::vector<std::string> list = BuildList(row, probe);
    const auto answer = RunCallback(validate, probe.userWords, list);
    if (!answer || answer->arg1 != kProbeValue || answer->arg2.empty() ||
        answer->arg2.rfind("None", 0) == 0)
        return;
    missing.arg2 = "one of " + answer->arg2;
}

// A report row the line would select if it gave the parameters the row
// requires: the one needing the fewest (the first of them in table order).
// Its first missing parameter is refused as missing, before any check could
// speak of an identifier that was never given.
std::optional<Refusal> MissingForReport(const CLPSNVActionRow* table, uint32_t rowCount,
                                        const Command& cmd, const CLPSNVActionRow** which) {
    std::optional<Refusal> best;
    size_t bestCount = 0;
    for (uint32_t r = 0; r < rowCount; ++r) {
        const CLPSNVActionRow& row = table[r];
        if (row.kind == CLPS_ROW_ACTION) continue;
        if (row.kind == CLPS_ROW_SELECTOR) {
            const Word* sel = row.pKeyName != nullptr ? cmd.Find(row.pKeyName) : nullptr;
            if (sel == nullptr || row.pKeyValue == nullptr ||
                !EqualsIgnoreCase(sel->value, row.pKeyValue))
                continue;
        }
        if (!std::all_of(cmd.words.begin(), cmd.words.end(),
                         [&](const Word& w) { return RowTakes(row, w.name); }))
            continue;
        std::vector<std::string_view> missing;
        bool excluded = false;
        for (uint32_t i = 0; i < row.paramCount; ++i) {
            const CLPSNVParamRow& p = row.pParams[i];
            if (p.pUserName == nullptr) continue;
            const bool given = cmd.Find(p.pUserName) != nullptr;
            excluded = excluded || (p.usage == CLPS_USE_MUST_NOT_GIVE && given);
            if (!given && fr::IsRequiredRow(p) &&
                std::none_of(missing.begin(), missing.end(),
                             [&](std::string_view m) { return EqualsIgnoreCase(m, p.pUserName); }))
                missing.emplace_back(p.pUserName);
        }
        if (excluded || missing.empty() || (best && missing.size() >= bestCount)) continue;
        best = Refusal{CLPS_MSG_MISSING_PARAM, std::string(missing.front()),
                       ExpectedFor(row, missing.front())};
        bestCount = missing.size();
        *which = &row;
    }
    return best;
}

// Replaces the response's record of the list sent.
bool SetRequestList(CLPSResponse* resp, const std::vector<const std::string*>& pairs) {
    if (resp->ppRequest != nullptr) {
        for (uint32_t i = 0; i < resp->requestCount; ++i) OCSFreeMem(resp->ppRequest[i]);
        OCSFreeMem(resp->ppRequest);
    }
    resp->ppRequest = nullptr;
    resp->requestCount = 0;
    if (pairs.empty()) return true;
    resp->ppRequest = static_cast<char**>(OCSAllocMem(sizeof(char*) * pairs.size()));
    if (resp->ppRequest == nullptr) return false;
    std::memset(resp->ppRequest, 0, sizeof(char*) * pairs.size());
    resp->requestCount = static_cast<uint32_t>(pairs.size());
    for (size_t i = 0; i < pairs.size(); ++i) {
        resp->ppRequest[i] = clps::DupString(pairs[i]->c_str());
        if (resp->ppRequest[i] == nullptr) return false;
    }
    return true;
}

std::vector<const std::string*> AllPairs(const std::vector<Prepared>& prepared) {
    std::vector<const std::string*> all;
    for (const Prepared& p : prepared) {
        for (const std::string& s : p.pairs) all.push_back(&s);
    }
    return all;
}

const char* StyleSheetOf(const CLPSNVActionRow& row, const char* handlerStyleSheet) {
    return row.pStyleSheet != nullptr ? row.pStyleSheet : handlerStyleSheet;
}

CLPSResponse* DryRunResponse(const std::vector<Prepared>& prepared, const char* styleSheet) {
    ResponsePtr resp(CLPSAllocResponse());
    if (!resp) return nullptr;
    resp->kind = CLPS_RESP_DRYRUN;
    std::string xml = "<DryRun>";
    for (const Prepared& p : prepared) {
        xml += "<Request agent=\"" + vk::XmlEscaped(p.row->pAgent) + "\">";
        for (const std::string& s : p.pairs) xml += "<NV>" + vk::XmlEscaped(s) + "</NV>";
        xml += "</Request>";
    }
    xml += "</DryRun>";
    const char* sheet = StyleSheetOf(*prepared.front().row, styleSheet);
    if (CLPSSetRespData(resp.get(), xml.c_str()) != 0 ||
        (sheet != nullptr && (resp->pStyleSheet = clps::DupString(sheet)) == nullptr) ||
        !SetRequestList(resp.get(), AllPairs(prepared)))
        return nullptr;
    return resp.release();
}

// An answer inside its response element: its objects, and its status tail
// (<SMStatus>, and <SMMessage> when it failed).
struct AnswerParts {
    std::string_view objects;
    std::string_view tail;
    bool failed = false;
};

AnswerParts SplitAnswer(std::string_view data) {
    constexpr std::string_view open = "<RESPONSE>";
    constexpr std::string_view close = "</RESPONSE>";
    if (data.substr(0, open.size()) == open && data.size() >= open.size() + close.size() &&
        data.substr(data.size() - close.size()) == close)
        data = data.substr(open.size(), data.size() - open.size() - close.size());
    AnswerParts parts;
    const size_t status = data.rfind("<SMStatus>");
    if (status == std::string_view::npos) {
        parts.objects = data;
        return parts;
    }
    parts.objects = data.substr(0, status);
    parts.tail = data.substr(status);
    parts.failed = parts.tail.substr(0, 22) != "<SMStatus>0</SMStatus>";
    return parts;
}

CLPSResponse* Send(const std::vector<Prepared>& prepared, const char* styleSheet) {
    std::vector<ResponsePtr> answers;
    for (const Prepared& p : prepared) {
        std::vector<const char*> list;
        for (const std::string& s : p.pairs) list.push_back(s.c_str());
        ResponsePtr answer(
            CLPSNVReportCapabilitesXML(p.row->pAgent, static_cast<uint32_t>(list.size()),
                                       list.data(), "RESPONSE", StyleSheetOf(*p.row, styleSheet)));
        if (!answer) {
            // The access library recorded why the agent did not answer.
            const char* cause = nullptr;
            if (VKDBPluginGetFailure(nullptr, &cause) == 0) cause = "it gave no answer";
            return CLPSNVSetupMsgRespObj(CLPS_MSG_AGENT_UNAVAILABLE, 0, p.row->pAgent, cause,
                                         nullptr, nullptr, styleSheet);
        }
        answers.push_back(std::move(answer));
    }
    if (answers.size() == 1) return answers.front().release();
    // Several rows: one document with every answer's objects in row order,
    // and the first failing status (or the success status) at its end.
    std::string objects;
    std::string_view tail;
    for (const ResponsePtr& a : answers) {
        const AnswerParts parts = SplitAnswer(a->pDataBuf != nullptr ? a->pDataBuf : "");
        objects += parts.objects;
        if (tail.empty() || (parts.failed && tail.substr(0, 22) == "<SMStatus>0</SMStatus>"))
            tail = parts.tail.empty() ? tail : parts.tail;
    }
    const std::string joined = "<RESPONSE>" + objects + std::string(tail) + "</RESPONSE>";
    ResponsePtr& first = answers.front();
    if (CLPSSetRespData(first.get(), joined.c_str()) != 0 ||
        !SetRequestList(first.get(), AllPairs(prepared)))
        return CLPSNVSetupMsgRespObj(CLPS_MSG_OUT_OF_MEMORY, 0, nullptr, nullptr, nullptr, nullptr,
                                     styleSheet);
    return first.release();
}

CLPSResponse* Usage(const Command& cmd, uint32_t usageMsgId, const CLPSNVActionRow* table,
                    uint32_t rowCount, const char* styleSheet) {
    ResponsePtr resp(
        CLPSNVSetupMsgRespObj(usageMsgId, 0, nullptr, nullptr, nullptr, nullptr, styleSheet));
    if (!resp) return nullptr;
    resp->kind = CLPS_RESP_USAGE;
    const std::string xml = fr::BuildUsageXml(cmd.object, table, rowCount);
    resp->pUsageXML = clps::DupString(xml.c_str());
    if (resp->pUsageXML == nullptr) return nullptr;
    return resp.release();
}

// Report tables: the rows the command line selects, in table order.
std::optional<Refusal> SelectReportRows(const CLPSNVActionRow* table, uint32_t rowCount,
                                        const Command& cmd,
                                        std::vector<const CLPSNVActionRow*>& selected) {
    // A word no row takes is refused first: naming it says more than
    // listing the table's rows.
    std::vector<std::string_view> known;
    for (uint32_t r = 0; r < rowCount; ++r) {
        const CLPSNVActionRow& row = table[r];
        if (row.kind == CLPS_ROW_ACTION) continue;
        std::vector<std::string_view> names = fr::UserNames(row.pParams, row.paramCount);
        if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr)
            names.insert(names.begin(), row.pKeyName);
        for (std::string_view n : names) {
            if (std::none_of(known.begin(), known.end(),
                             [&](std::string_view k) { return EqualsIgnoreCase(k, n); }))
                known.push_back(n);
        }
    }
    for (const Word& w : cmd.words) {
        if (std::none_of(known.begin(), known.end(),
                         [&](std::string_view k) { return EqualsIgnoreCase(k, w.name); }))
            return Refusal{CLPS_MSG_UNEXPECTED_PARAM, std::string(w.name), NamesOrNone(known)};
    }
    // Every matching row is used, not only the first. Rows that share their
    // rules (a virtual disk's member disks and its spans) make up one
    // report together; sending the first alone would leave the others
    // unreachable. Their answers are joined into one document.
    for (uint32_t r = 0; r < rowCount; ++r) {
        if (table[r].kind != CLPS_ROW_ACTION && ReportRowMatches(table[r], cmd))
            selected.push_back(&table[r]);
    }
    return std::nullopt;
}

// No report row fits: a selector with a value no row knows, or the list of
// what the report takes.
Refusal NoReportRow(const CLPSNVActionRow* table, uint32_t rowCount, const Command& cmd,
                    uint32_t argc, const char** argv) {
    for (uint32_t r = 0; r < rowCount; ++r) {
        if (table[r].kind != CLPS_ROW_SELECTOR || table[r].pKeyName == nullptr) continue;
        const Word* sel = cmd.Find(table[r].pKeyName);
        if (sel == nullptr) continue;
        std::vector<std::string_view> values;
        bool known = false;
        for (uint32_t o = 0; o < rowCount; ++o) {
            const CLPSNVActionRow& row = table[o];
            if (row.kind != CLPS_ROW_SELECTOR || row.pKeyName == nullptr ||
                row.pKeyValue == nullptr || !EqualsIgnoreCase(row.pKeyName, sel->name))
                continue;
            known = known || EqualsIgnoreCase(row.pKeyValue, sel->value);
            if (!IsHidden(row) && std::find(values.begin(), values.end(),
                                            std::string_view(row.pKeyValue)) == values.end())
                values.emplace_back(row.pKeyValue);
        }
        if (!known) {
            return Refusal{CLPS_MSG_BAD_KEYWORD,
                           std::string(sel->name) + "=" + std::string(sel->value),
                           fr::Join(values, ", ")};
        }
        break;
    }
    std::vector<std::string> synopses;
    for (uint32_t r = 0; r < rowCount; ++r) {
        if (table[r].kind == CLPS_ROW_ACTION || IsHidden(table[r])) continue;
        std::string synopsis = ReportRowSynopsis(table[r]);
        if (std::find(synopses.begin(), synopses.end(), synopsis) == synopses.end())
            synopses.push_back(std::move(synopsis));
    }
    std::string takes;
    for (const std::string& s : synopses) takes += (takes.empty() ? "" : "; ") + s;
    return Refusal{CLPS_MSG_NO_MATCHING_ROW, clps::CommandWords(argc, argv), takes};
}

CLPSResponse* RunFrame(uint32_t argc, const char** argv, uint32_t usageMsgId,
                       const CLPSNVActionRow* table, uint32_t rowCount, const char* styleSheet,
                       CLPSNVValidateFunc validate) {
    const Command cmd = ParseCommand(argc, argv);
    if (CLPSIsUsageHelp(argc, argv) != 0)
        return Usage(cmd, usageMsgId, table, rowCount, styleSheet);

    if (!cmd.stray.empty()) {
        return Respond({CLPS_MSG_STRAY_WORD, cmd.stray, "name=value words"}, styleSheet);
    }
    if (!cmd.twice.empty()) {
        return Respond({CLPS_MSG_UNEXPECTED_PARAM, cmd.twice, cmd.twice + " once only"},
                       styleSheet);
    }

    const CLPSNVActionRow* firstAction = nullptr;
    bool hasReportRows = false;
    for (uint32_t r = 0; r < rowCount; ++r) {
        if (table[r].kind == CLPS_ROW_ACTION && firstAction == nullptr) firstAction = &table[r];
        if (table[r].kind != CLPS_ROW_ACTION) hasReportRows = true;
    }

    std::vector<const CLPSNVActionRow*> selected;
    const Word* action = firstAction != nullptr && firstAction->pKeyName != nullptr
                             ? cmd.Find(firstAction->pKeyName)
                             : nullptr;
    if (action != nullptr) {
        for (uint32_t r = 0; r < rowCount && selected.empty(); ++r) {
            if (table[r].kind == CLPS_ROW_ACTION && table[r].pKeyValue != nullptr &&
                EqualsIgnoreCase(table[r].pKeyValue, action->value))
                selected.push_back(&table[r]);
        }
        if (selected.empty()) {
            const auto actions = VisibleActions(table, rowCount);
            const auto nearest = vk::NearestWords(action->value, actions);
            if (!nearest.empty()) {
                return Respond({CLPS_MSG_NEAR_ACTION, std::string(action->value),
                                vk::JoinAlternatives(nearest)},
                               styleSheet);
            }
            return Respond(
                {CLPS_MSG_BAD_ACTION, std::string(action->value), fr::Join(actions, ", ")},
                styleSheet);
        }
    } else if (!hasReportRows) {
        return Respond(
            {CLPS_MSG_MISSING_ACTION, cmd.object, fr::Join(VisibleActions(table, rowCount), ", ")},
            styleSheet);
    } else {
        if (auto refusal = SelectReportRows(table, rowCount, cmd, selected))
            return Respond(*refusal, styleSheet);
        if (selected.empty()) {
            const CLPSNVActionRow* incomplete = nullptr;
            if (auto missing = MissingForReport(table, rowCount, cmd, &incomplete)) {
                ListWhatExists(*missing, *incomplete, cmd, validate);
                return Respond(*missing, styleSheet);
            }
            // The object's own checks speak first: they name a bad
            // identifier or option more precisely than the frame can.
            std::vector<std::string> none;
            if (auto refusal = RunCallback(validate, cmd.userWords, none))
                return Respond(*refusal, styleSheet);
            return Respond(NoReportRow(table, rowCount, cmd, argc, argv), styleSheet);
        }
    }

    std::vector<Prepared> prepared;
    for (const CLPSNVActionRow* row : selected) {
        if (auto refusal = CheckRow(*row, cmd)) {
            if (refusal->msgId == CLPS_MSG_MISSING_PARAM)
                ListWhatExists(*refusal, *row, cmd, validate);
            return Respond(*refusal, styleSheet);
        }
        Prepared p{row, BuildList(*row, cmd)};
        if (p.pairs.size() > CLPS_NV_LIST_MAX) {
            return Respond({CLPS_MSG_OUT_OF_MEMORY, cmd.object, ""}, styleSheet);
        }
        if (auto refusal = RunCallback(validate, cmd.userWords, p.pairs))
            return Respond(*refusal, styleSheet);
        if (auto refusal = MissingChoice(*row, cmd)) return Respond(*refusal, styleSheet);
        prepared.push_back(std::move(p));
    }
    if ((CLPSGetHostFlags() & CLPS_HOST_DRYRUN) != 0) return DryRunResponse(prepared, styleSheet);
    return Send(prepared, styleSheet);
}

}  // namespace

extern "C" {

const char* CLPSNVKeepString(const char* text) {
    if (t_arena == nullptr || text == nullptr) return nullptr;
    try {
        // A deque never moves its elements, so earlier pointers stay valid.
        return t_arena->emplace_back(text).c_str();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

CLPSResponse* CLPSNVCmdConfigFunc(uint32_t argc, const char** argv, uint32_t usageMsgId,
                                  uint32_t secondMsgId, const CLPSNVActionRow* table,
                                  uint32_t rowCount, const char* styleSheet,
                                  CLPSNVValidateFunc validate) {
    ArenaScope scope;
    try {
        if (table == nullptr) rowCount = 0;
        if ((CLPSGetHostFlags() & CLPS_HOST_DESCRIBE) != 0)
            return fr::DescribeTable(usageMsgId, secondMsgId, table, rowCount, styleSheet);
        return RunFrame(argc, argv, usageMsgId, table, rowCount, styleSheet, validate);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

int32_t CLPSNVCheckTable(const CLPSNVActionRow* table, uint32_t rowCount, char* problem,
                         uint32_t problemSize) {
    try {
        const std::string what = clps::frame::CheckTable(table, rowCount);
        if (problem != nullptr && problemSize > 0) {
            std::snprintf(problem, problemSize, "%s", what.c_str());
        }
        return what.empty() ? 0 : 1;
    } catch (const std::bad_alloc&) {
        return 1;
    }
}

}  // extern "C"
