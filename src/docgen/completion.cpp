#include "completion.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <vector>

namespace vk::docgen {

namespace {

// Keys and words in insertion order, each word once.
class Table {
  public:
    Table(std::string name, std::string comment, std::string separator = " ")
        : name_(std::move(name)), comment_(std::move(comment)), separator_(std::move(separator)) {}

    void Add(const std::string& key, const std::string& word) {
        Touch(key);
        std::vector<std::string>& words = rows_[index_.at(key)].second;
        if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
    }
    void Touch(const std::string& key) {
        if (index_.emplace(key, rows_.size()).second) rows_.push_back({key, {}});
    }

    std::string Bash() const {
        std::string out = "# " + comment_ + "\ndeclare -gA " + name_ + "=(\n";
        for (const auto& [key, words] : rows_) {
            std::string joined;
            for (const std::string& w : words) joined += (joined.empty() ? "" : separator_) + w;
            out += "  [" + Quote(key) + "]=" + Quote(joined) + "\n";
        }
        return out + ")\n";
    }

  private:
    static std::string Quote(const std::string& text) {
        std::string out = "'";
        for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return out + "'";
    }

    std::string name_;
    std::string comment_;
    std::string separator_;
    std::vector<std::pair<std::string, std::vector<std::string>>> rows_;
    std::map<std::string, size_t> index_;
};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string NameOf(const std::string& pair) {
    return pair.substr(0, pair.find('='));
}

}  // namespace

std::string CompletionScript(const Vocabulary& v, const std::string& functions) {
    Table next("_vk_next", "the words that may follow the command words given");
    Table actions("_vk_actions", "the actions a command lists in its help");
    Table params("_vk_params", "the parameters of an action row: 'COMMAND|action'");
    Table rows("_vk_rows", "report rows, ';' between rows: the parameters that choose each", ";");
    Table keywords("_vk_keywords",
                   "keyword values: 'COMMAND|action|parameter' ('COMMAND||parameter' for reports)");
    Table requests("_vk_requests", "the requests the commands send, and the names each takes");

    for (const Command& c : v.commands) {
        std::string path = c.words.front();
        for (size_t i = 1; i < c.words.size(); ++i) {
            next.Add(path, c.words[i]);
            path += " " + c.words[i];
        }
        const std::string line = c.Line();
        if (!c.actions.empty()) actions.Touch(line);
        for (const Row& row : c.actions) {
            if (!row.hidden) actions.Add(line, row.action);
            const std::string key = line + "|" + Lower(row.action);
            params.Touch(key);
            for (const Parameter& p : row.parameters) {
                params.Add(key, p.name);
                for (const Keyword& k : p.keywords)
                    keywords.Add(key + "|" + Lower(p.name), k.keyword);
            }
        }
        if (!c.reports.empty()) rows.Touch(line);
        for (const Row& row : c.reports) {
            if (row.hidden) continue;
            std::string names;
            for (const Parameter& p : row.parameters) {
                names += (names.empty() ? "" : " ") + p.name;
                const std::string key = line + "||" + Lower(p.name);
                for (const Keyword& k : p.keywords) keywords.Add(key, k.keyword);
                if (row.selector && row.selector->name == p.name)
                    keywords.Add(key, row.selector->value);
            }
            rows.Add(line, names);
        }
        const auto request = [&](const Row& row) {
            const std::string name = row.request.substr(row.request.find('=') + 1);
            requests.Touch(name);
            for (const Parameter& p : row.parameters) {
                if (p.sends && !NameOf(*p.sends).empty()) requests.Add(name, NameOf(*p.sends));
                for (const Keyword& k : p.keywords) requests.Add(name, NameOf(k.sends));
            }
            for (const std::string& f : row.fixed) requests.Add(name, NameOf(f));
        };
        std::for_each(c.actions.begin(), c.actions.end(), request);
        std::for_each(c.reports.begin(), c.reports.end(), request);
    }

    std::string out =
        "# bash completion of vkreport, vkconfig and kvda.\n"
        "# The tables come from the commands' own description of what they accept\n"
        "# (vkconfig --describe), written here when the tools were built.\n";
    for (const Table* t : {&next, &actions, &params, &rows, &keywords, &requests}) out += t->Bash();
    return out + "\n" + functions;
}

}  // namespace vk::docgen
