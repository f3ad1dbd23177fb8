// Internals of the vkreport/vkconfig host program.
#ifndef VK_HOST_HOST_H
#define VK_HOST_HOST_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vk::host {

// Exit statuses of both commands.
enum ExitCode : int {
    kExitDone = 0,         // carried out
    kExitRefused = 1,      // refused by a check
    kExitCommandLine = 2,  // command line not understood
    kExitRights = 3,       // insufficient rights
    kExitFailure = 4,      // agent unavailable or internal failure
};

enum class Format { Text, Xml, Json };

// What the document says about the outcome ("status" in JSON).
enum class Status { Ok, Refused, Usage, DryRun, Error };

// Rights a user may hold: reading, and everything (configuration).
inline constexpr uint32_t kReadRights = 1;
inline constexpr uint32_t kAdminRights = 7;

// A failure that ends the run with an exit status and one line of text.
struct HostError : std::runtime_error {
    HostError(int code, const std::string& text) : std::runtime_error(text), exitCode(code) {}
    int exitCode;
};

// One storage object: its child elements' tags and texts, in order.
using StorageObject = std::vector<std::pair<std::string, std::string>>;

// What the text shows for one storage object's codes: each decoded tag with
// its words ("ObjState" -> "Ready"), and the sizes among them in bytes.
struct ObjectLabels {
    StorageObject decoded;
    std::vector<std::pair<std::string, uint64_t>> bytes;
};

// Version of the JSON document's layout; raised when a field changes
// meaning or goes away (new fields leave it as it is).
inline constexpr int kJsonSchemaVersion = 1;

// Everything a run produces, ready to be written in the asked format.
struct Outcome {
    int exitCode = kExitDone;
    Status status = Status::Ok;
    std::optional<uint32_t> message;  // message number, for messages and usage
    std::vector<std::string> args;    // the message's two texts
    bool hasArgs = false;
    std::string text;                  // rendered text
    std::string diagnostic;            // the one line for standard error (refusals, errors)
    std::vector<std::string> request;  // pairs sent or to be sent, pass phrases hidden
    std::vector<StorageObject> objects;
    std::vector<ObjectLabels> labels;  // one per object, for JSON (may be empty)
    std::string console;               // what the plug-in wrote to standard output
    std::string xml;                   // the document for --format=xml
};

// The program's own options and the command words after them.
struct Options {
    Format format = Format::Text;
    bool dryRun = false;
    bool help = false;
    bool version = false;
    bool describe = false;
    std::vector<std::string> words;
};

// ---- configuration and locations (config.cpp) ----
struct Locations {
    std::filesystem::path plugin;
    std::filesystem::path share;
};
Locations FindLocations();

struct HostConfig {
    std::string adminGroup = "vkadmin";
};
// Defaults from share/vk/host.conf, then /etc/vk/host.conf (or VK_HOST_CONF,
// which a caller other than root may only point at a file root owns and no
// one else may write).
// Problems in a file are reported as warnings through warn.
HostConfig LoadHostConfig(const std::filesystem::path& share,
                          const std::function<void(const std::string&)>& warn);

// Rights the calling user holds: root and members of the admin group hold
// kAdminRights, everyone else kReadRights.
uint32_t HeldRights(const std::string& adminGroup);

// Points SystemRoot at the log directory unless it is set, creating it.
void EnsureTraceRoot();

// ---- message catalogue (catalogue.cpp) ----
class MessageCatalogue {
  public:
    // Reads NUMBER<TAB>TEXT lines; a malformed line is a HostError naming it.
    static MessageCatalogue Load(const std::filesystem::path& file);
    // The text with %1 and %2 replaced, or nothing when the number is unknown.
    std::optional<std::string> Format(uint32_t number, std::string_view arg1,
                                      std::string_view arg2) const;

  private:
    std::map<uint32_t, std::string> texts_;
};

// ---- rendering (render.cpp) ----
// Parsed XML answer.
struct XmlAnswer {
    std::optional<std::string> status;  // SMStatus text, when present
    std::string message;                // SMMessage text
    std::vector<StorageObject> objects;
};
XmlAnswer ReadXmlAnswer(const std::string& xml);
// Reads the document the labels stylesheet makes of an answer: one entry
// per storage object, in the answer's order.
std::vector<ObjectLabels> ReadLabels(const std::string& xml);
// The stylesheet (under share/vk) that decodes an answer's objects.
inline constexpr std::string_view kLabelsStyleSheet = "sm/cli/labels.xsl";

// Stylesheets parsed once per run and applied with the program's name.
class Renderer {
  public:
    // program and command (the command words) are handed to every stylesheet
    // as the parameters "program" and "command".
    Renderer(std::filesystem::path share, std::string program, std::string command);
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;
    // Renders a document with a stylesheet (path relative to share/vk);
    // a HostError when either cannot be used.
    std::string Render(const std::string& xml, const std::string& styleSheet);

  private:
    struct Cache;
    std::filesystem::path share_;
    std::string program_;
    std::string command_;
    std::unique_ptr<Cache> cache_;
};

// ---- the vocabulary dump (describe.cpp) ----
// Every command the plug-in serves, as one JSON document (in the outcome's
// text): words, rights, usage texts from the catalogue, actions and reports
// with their parameters, as the plug-in's own tables hold them.
Outcome Describe(const std::string& program, const Options& opts);

// ---- output (output.cpp) ----
// Writes the outcome to standard output and standard error; returns the exit
// status.
int Emit(const Outcome& outcome, Format format, std::string_view program);

}  // namespace vk::host

#endif
