// What the manual pages and the completion are made from: the vocabulary
// dump of the programs (--describe), the message catalogue and the shipped
// estate profiles, read into plain records.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vk::docgen {

// A bad or missing input, named in the message.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Keyword {
    std::string keyword;
    std::string sends;
};

struct Parameter {
    std::string name;
    std::string type;
    bool required = false;
    bool group = false;  // at least one of the row's group parameters is needed
    std::optional<std::string> sends;
    std::optional<std::string> form;
    std::vector<Keyword> keywords;
};

struct Selector {
    std::string name;
    std::string value;
};

// An action row (action=NAME) or a report row (chosen by what is given).
struct Row {
    std::string action;  // empty for a report row
    std::string request;
    bool hidden = false;
    std::optional<Selector> selector;
    std::vector<Parameter> parameters;
    std::vector<std::string> fixed;
};

struct Message {
    int number = 0;
    std::string text;
};

struct Command {
    std::vector<std::string> words;
    std::string rights;  // "read" or "configure"
    std::optional<Message> usage;
    std::optional<Message> second;
    std::vector<Row> actions;
    std::vector<Row> reports;

    std::string Line() const;  // the words joined by blanks
    bool HasRows() const { return !actions.empty() || !reports.empty(); }
};

struct Vocabulary {
    std::vector<Command> commands;  // in the dump's order: sorted by their words

    // The commands a program serves that take parameters or actions, or at
    // least are not just the first words of longer commands.
    std::vector<const Command*> Served(std::string_view program) const;
    bool IsPrefix(const Command& command) const;
};

Vocabulary ParseVocabulary(const std::string& json, const std::string& origin);

// The message catalogue: entries by number, and the comment block that heads
// each run of entries.
struct CatalogueGroup {
    std::string heading;  // the comment lines, joined
    std::vector<Message> messages;
};

struct Catalogue {
    std::vector<CatalogueGroup> groups;
};

Catalogue ParseCatalogue(const std::string& text, const std::string& origin);

struct Profile {
    std::string name;
    std::string description;
};

std::vector<Profile> ReadProfiles(const std::filesystem::path& dir);

std::string ReadText(const std::filesystem::path& file);

}  // namespace vk::docgen
