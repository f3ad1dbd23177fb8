#include "man_pages.h"

#include <algorithm>
#include <set>

#include "roff.h"

namespace vk::docgen {

namespace {

using roff::Bold;
using roff::Italic;
using roff::Text;

std::string Join(const std::vector<std::string>& items, std::string_view separator) {
    std::string out;
    for (const std::string& item : items) out += (out.empty() ? "" : std::string(separator)) + item;
    return out;
}

template <typename T>
void AddOnce(std::vector<T>& items, const T& item) {
    if (std::find(items.begin(), items.end(), item) == items.end()) items.push_back(item);
}

// The name of a request without its "vkacmd=".
std::string RequestName(const std::string& request) {
    constexpr std::string_view kPrefix = "vkacmd=";
    return request.starts_with(kPrefix) ? request.substr(kPrefix.size()) : request;
}

// "controller=number", "[raid=keyword]", or a selector's fixed "info=temps".
std::string ParameterSynopsis(const Parameter& p, const std::optional<Selector>& selector) {
    if (selector && selector->name == p.name) return Bold(p.name + "=" + selector->value);
    const std::string word =
        Bold(p.name + "=") + Italic(p.keywords.empty() ? p.type : std::string("keyword"));
    return p.required ? word : "[" + word + "]";
}

// The parameters of a row as a command line would give them, and the
// group that needs at least one member.
std::string RowSynopsis(const Row& row, const std::string& lead) {
    std::vector<std::string> words{lead};
    std::vector<std::string> group;
    for (const Parameter& p : row.parameters) {
        words.push_back(ParameterSynopsis(p, row.selector));
        if (p.group) group.push_back(Bold(p.name + "="));
    }
    std::string out = Join(words, " ") + "\n";
    if (!group.empty()) out += ".br\nAt least one of " + Join(group, ", ") + ".\n";
    return out;
}

// What a parameter takes, in words.
std::string Takes(const Parameter& p) {
    if (!p.keywords.empty()) {
        std::vector<std::string> keywords;
        for (const Keyword& k : p.keywords) keywords.push_back(Bold(k.keyword));
        return "one of " + Join(keywords, ", ");
    }
    return Text(p.form.value_or(p.type));
}

// Every parameter the rows take, with what it takes (all the different
// forms when the rows differ).
std::string ParameterList(const std::vector<const Row*>& rows) {
    std::vector<std::string> names;
    std::map<std::string, std::vector<std::string>> takes;
    for (const Row* row : rows) {
        for (const Parameter& p : row->parameters) {
            if (row->selector && row->selector->name == p.name) continue;
            AddOnce(names, p.name);
            AddOnce(takes[p.name], Takes(p));
        }
    }
    if (names.empty()) return {};
    std::string out = ".PP\nParameters:\n.RS 4\n";
    for (const std::string& name : names)
        out += ".TP\n" + Bold(name + "=") + "\n" + Join(takes[name], "; or ") + "\n";
    return out + ".RE\n";
}

std::vector<const Row*> Visible(const std::vector<Row>& rows, bool hidden = false) {
    std::vector<const Row*> out;
    for (const Row& row : rows)
        if (row.hidden == hidden) out.push_back(&row);
    return out;
}

// Report rows as the command lines that choose them; rows of several
// candidate tables that read the same are shown once.
std::string ReportForms(const Command& command) {
    std::vector<std::string> forms;
    for (const Row* row : Visible(command.reports))
        AddOnce(forms, RowSynopsis(*row, Bold(command.Line())));
    if (forms.empty()) forms.push_back(Bold(command.Line()) + "\n");
    // Each form on lines of its own, continued lines indented.
    return ".RS 8\n.ti -4\n" + Join(forms, ".br\n.ti -4\n") + ".RE\n";
}

std::string CommandHeading(const Command& command) {
    std::string out = ".SS " + Text(command.Line()) + "\n";
    if (command.usage && !command.usage->text.empty()) out += roff::Lines(command.usage->text);
    return out;
}

std::string ReportCommand(const Command& command) {
    std::string out = CommandHeading(command) + ".PP\n" + ReportForms(command);
    out += ParameterList(Visible(command.reports));
    return out;
}

std::string ActionEntry(const Row& row) {
    std::string out = ".TP\n" + Bold("action=" + row.action) + "\n";
    const std::string synopsis = RowSynopsis(row, "");
    out += synopsis == "\n" ? "Takes no parameters.\n" : synopsis;
    out += ".br\nSends " + Bold(row.request) + ".\n";
    return out;
}

std::string ConfigCommand(const Command& command) {
    std::string out = CommandHeading(command);
    if (command.rights == "read") out += ".PP\nIt needs only the rights to read.\n";
    if (command.actions.empty()) {
        // A configuration word served by a report.
        out += ".PP\nIt shows a report:\n" + ReportForms(command);
        return out + ParameterList(Visible(command.reports));
    }
    for (const Row* row : Visible(command.actions)) out += ActionEntry(*row);
    const auto hidden = Visible(command.actions, true);
    if (!hidden.empty()) {
        out += ".PP\nAlso accepted, for service, and not listed by " + Bold("-?") + ":\n";
        for (const Row* row : hidden) out += ActionEntry(*row);
    }
    std::vector<const Row*> all = Visible(command.actions);
    all.insert(all.end(), hidden.begin(), hidden.end());
    out += ParameterList(all);
    if (command.second && !command.second->text.empty())
        out +=
            ".PP\nWhen an action is carried out it answers: " + Text(command.second->text) + "\n";
    return out;
}

std::string ProgramCommands(const Vocabulary& v, std::string_view program,
                            std::string (*render)(const Command&)) {
    std::string out;
    for (const Command* c : v.Served(program)) out += render(*c);
    return out;
}

// The storage objects of both programs, each with what it does.
std::string Objects(const Vocabulary& v) {
    std::vector<std::string> objects;
    for (const Command& c : v.commands)
        if (c.words.size() == 3 && c.words[1] == "storage") AddOnce(objects, c.words[2]);
    std::sort(objects.begin(), objects.end());
    std::string out;
    for (const std::string& object : objects) {
        out += ".TP\n" + Bold(object) + "\n";
        bool first = true;
        for (const char* program : {"vkreport", "vkconfig"}) {
            const auto found =
                std::find_if(v.commands.begin(), v.commands.end(), [&](const Command& c) {
                    return c.words == std::vector<std::string>{program, "storage", object};
                });
            if (found == v.commands.end()) continue;
            const Command& c = *found;
            out += first ? "" : ".br\n";
            first = false;
            out += Bold(c.words[0]) + ": ";
            if (c.usage && !c.usage->text.empty()) out += Text(c.usage->text) + " ";
            std::vector<std::string> actions;
            for (const Row* row : Visible(c.actions)) actions.push_back(Bold(row->action));
            if (!actions.empty()) out += "Actions: " + Join(actions, ", ") + ".";
            out += "\n";
        }
    }
    std::vector<std::string> system;
    for (const Command* c : v.Served("vkreport"))
        if (c->words.size() > 1 && c->words[1] != "storage") system.push_back(Bold(c->Line()));
    if (!system.empty())
        out += ".PP\nThe system reports that touch storage: " + Join(system, ", ") + ".\n";
    return out;
}

// Who may run what: the rights each command asks.
std::string Rights(const Vocabulary& v) {
    std::vector<std::string> readConfig;
    for (const Command* c : v.Served("vkconfig"))
        if (c->rights == "read") readConfig.push_back(Bold(c->Line()));
    std::string out = "Every " + Bold("vkreport") +
                      " command asks only the rights to read; every " + Bold("vkconfig") +
                      " command asks the rights to configure";
    if (!readConfig.empty())
        out += ", except " + Join(readConfig, ", ") + ", which asks only to read";
    return out + ".\n";
}

// The catalogue's refusals and errors by number, under the catalogue's own
// headings; usage and success texts are shown with their commands instead.
std::string Messages(const Vocabulary& v, const Catalogue& catalogue) {
    std::set<int> usage;
    for (const Command& c : v.commands) {
        if (c.usage) usage.insert(c.usage->number);
        if (c.second) usage.insert(c.second->number);
    }
    std::string out;
    for (const CatalogueGroup& group : catalogue.groups) {
        std::string entries;
        for (const Message& m : group.messages) {
            if (usage.contains(m.number)) continue;
            // %1 and %2, the texts that come with a message, as placeholders.
            std::string text = roff::Lines(m.text);
            for (const char* mark : {"%1", "%2"})
                for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += 8)
                    text.replace(at, 2, Italic(mark));
            entries += ".TP\n" + Bold(std::to_string(m.number)) + "\n" + text;
        }
        if (entries.empty()) continue;
        const std::string& heading = group.heading;
        const size_t colon = heading.find(':');
        std::string title = heading.substr(0, colon);
        if (title.ends_with(".")) title.pop_back();
        out += ".SS " + Text(title.empty() ? "Other messages" : title) + "\n";
        if (colon != std::string::npos) {
            std::string more = heading.substr(colon + 1);
            more.erase(0, more.find_first_not_of(' '));
            if (!more.empty()) more[0] = static_cast<char>(std::toupper(more[0]));
            out += ".PP\n" + Text(more) + "\n";
        }
        out += entries;
    }
    return out;
}

std::string Profiles(const std::vector<Profile>& profiles) {
    std::string out;
    for (const Profile& p : profiles)
        out += ".TP\n" + Bold(p.name) + "\n" + Text(p.description) + "\n";
    return out;
}

// Every request the commands send, with the names it takes and the commands
// that send it, for reading the journal and for kvda send.
std::string Requests(const Vocabulary& v) {
    struct Use {
        std::vector<std::string> names;
        std::vector<std::string> senders;
    };
    std::map<std::string, Use> uses;
    for (const Command& c : v.commands) {
        const auto note = [&](const Row& row, const std::string& sender) {
            Use& use = uses[RequestName(row.request)];
            AddOnce(use.senders, sender);
            for (const Parameter& p : row.parameters) {
                if (p.sends) AddOnce(use.names, p.sends->substr(0, p.sends->find('=')));
                for (const Keyword& k : p.keywords)
                    AddOnce(use.names, k.sends.substr(0, k.sends.find('=')));
            }
            for (const std::string& f : row.fixed) AddOnce(use.names, f.substr(0, f.find('=')));
        };
        for (const Row& row : c.actions) note(row, c.Line() + " action=" + row.action);
        for (const Row& row : c.reports) note(row, c.Line());
    }
    std::string out;
    for (const auto& [request, use] : uses) {
        out += ".TP\n" + Bold(request) + "\n";
        std::vector<std::string> names;
        for (const std::string& n : use.names)
            if (!n.empty()) names.push_back(Bold(n));
        if (!names.empty()) out += "Takes " + Join(names, ", ") + ".\n";
        std::vector<std::string> senders;
        for (const std::string& s : use.senders) senders.push_back(Text(s));
        out += "Sent by " + Join(senders, "; ") + ".\n";
    }
    return out;
}

}  // namespace

std::map<std::string, std::function<std::string()>> ManSections(const Sources& s) {
    return {
        {"REPORT_COMMANDS",
         [&] { return ProgramCommands(s.vocabulary, "vkreport", ReportCommand); }},
        {"CONFIG_COMMANDS",
         [&] { return ProgramCommands(s.vocabulary, "vkconfig", ConfigCommand); }},
        {"OBJECTS", [&] { return Objects(s.vocabulary); }},
        {"RIGHTS", [&] { return Rights(s.vocabulary); }},
        {"MESSAGES", [&] { return Messages(s.vocabulary, s.catalogue); }},
        {"PROFILES", [&] { return Profiles(s.profiles); }},
        {"REQUESTS", [&] { return Requests(s.vocabulary); }},
    };
}

}  // namespace vk::docgen
