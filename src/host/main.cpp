// vkreport and vkconfig: one program serving both names. It checks the
// user's rights, hands the command line to the storage plug-in and writes
// the plug-in's answer as text, XML or JSON.
#include <getopt.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

#include "help_words.h"
#include "host.h"
#include "nearest_words.h"
#include "os/arguments.h"
#include "os/console.h"
#include "os/locations.h"
#include "os/rights.h"
#include "passphrase.h"
#include "plugin.h"
#include "text.h"

namespace vk::host {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kAgent = "kvda";
constexpr std::string_view kDefaultStyleSheet = "kvclp.xsl";

struct MessageRange {
    uint32_t first;
    uint32_t last;
    int exitCode;
    Status status;
};

// What a message number means for the run; numbers below the first row are
// notices.
// clang-format off
constexpr std::array<MessageRange, 5> kMessageRanges{{
    {1500, 1589,                                 kExitCommandLine, Status::Error},
    {1590, 1599,                                 kExitFailure,     Status::Error},
    {1600, 5999,                                 kExitRefused,     Status::Refused},
    {6000, 6999,                                 kExitDone,        Status::Usage},
    {7000, std::numeric_limits<uint32_t>::max(), kExitRefused,     Status::Refused},
}};
// clang-format on

constexpr uint32_t kAgentUnavailable = 1590;
constexpr uint32_t kReportUsage = 6000;
constexpr uint32_t kConfigUsage = 6001;

constexpr std::string_view kHelp =
    "Usage: %s [OPTIONS] [--] WORD... [name=value]...\n"
    "Hands a storage command to the storage plug-in and shows its answer.\n"
    "\n"
    "Options (before the command words):\n"
    "  -f, --format=text|xml|json  output format (default text)\n"
    "      --dry-run               vkconfig only: check the command and show the\n"
    "                              request without sending it\n"
    "      --describe              print every command served, as JSON\n"
    "  -h, -?, --help              show this help\n"
    "      --version               show the version\n"
    "  --                          end of the options\n"
    "\n"
    "Type '%s storage -?' for the storage objects; -?, -h, --help or help after\n"
    "any command word shows the usage of that command and runs nothing.\n"
    "Exit status: 0 carried out, 1 refused, 2 command line not understood,\n"
    "3 insufficient rights, 4 agent unavailable or internal failure.\n";

// clang-format off
constexpr std::array<option, 6> kLongOptions{{
    {"format",   required_argument, nullptr, 'f'},
    {"dry-run",  no_argument,       nullptr, 'n'},
    {"describe", no_argument,       nullptr, 'd'},
    {"help",     no_argument,       nullptr, 'h'},
    {"version",  no_argument,       nullptr, 'v'},
    {nullptr,    0,                 nullptr, 0},
}};
// clang-format on

// "+": options end at the first command word, so that a help word among
// the command words is the plug-in's (the usage of that command), and a
// leading ':' lets a missing option value be told apart from an unknown
// option.
constexpr const char* kShortOptions = "+:f:h?";

Format ParseFormat(std::string_view value) {
    if (value == "text") return Format::Text;
    if (value == "xml") return Format::Xml;
    if (value == "json") return Format::Json;
    throw HostError(kExitCommandLine,
                    "unknown output format '" + std::string(value) + "': use text, xml or json");
}

// The refusal of an option word that is not ours, with the nearest of ours.
[[noreturn]] void RefuseOption(const std::string& word, const std::string& program) {
    std::vector<std::string> names;
    for (const option& o : kLongOptions) {
        if (o.name != nullptr) names.push_back(std::string("--") + o.name);
    }
    const std::string name = word.substr(0, word.find('='));
    const auto nearest =
        vk::NearestWords(name, std::vector<std::string_view>(names.begin(), names.end()));
    const std::string hint = nearest.empty()
                                 ? "try '" + program + " --help'"
                                 : "did you mean " + vk::JoinAlternatives(nearest) + "?";
    throw HostError(kExitCommandLine, "unknown option '" + word + "' (" + hint + ")");
}

// Parses options into opts as it goes, so that an error in a later option is
// already written in the format asked before it.
void ParseOptions(int argc, char** argv, const std::string& program, Options& opts) {
    opterr = 0;  // every complaint is ours
    optind = 0;  // start afresh (0 also resets getopt's own state)
    for (;;) {
        const int previous = optind == 0 ? 1 : optind;
        const int c = getopt_long(argc, argv, kShortOptions, kLongOptions.data(), nullptr);
        if (c == -1) break;
        const std::string word = previous < argc ? argv[previous] : "";
        switch (c) {
            case 'f':
                opts.format = ParseFormat(optarg);
                break;
            case 'n':
                if (program != "vkconfig")
                    throw HostError(kExitCommandLine, "--dry-run is only for vkconfig");
                opts.dryRun = true;
                break;
            case 'd':
                opts.describe = true;
                break;
            case 'h':
                opts.help = true;
                break;
            case 'v':
                opts.version = true;
                break;
            case ':':
                throw HostError(kExitCommandLine, "the option '" + word + "' needs a value (try '" +
                                                      program + " --help')");
            case '?':
                // getopt answers '?' both for "-?" and for an option it does
                // not know.
                if (word == "-?") {
                    opts.help = true;
                    break;
                }
                RefuseOption(word, program);
            default:
                RefuseOption(word, program);
        }
    }
    for (int i = optind; i < argc; ++i) opts.words.emplace_back(argv[i]);
    // A program option after the command words would be taken for a word of
    // the command; say where it belongs instead.
    for (const std::string& word : opts.words) {
        const std::string name = word.substr(0, word.find('='));
        const bool ours =
            name == "-f" ||
            std::any_of(kLongOptions.begin(), kLongOptions.end(), [&](const option& o) {
                return o.name != nullptr && name == std::string("--") + o.name;
            });
        if (ours && !vk::IsHelpWord(word))
            throw HostError(kExitCommandLine,
                            "the option '" + word + "' goes before the command words");
    }
}

// The command as named in diagnostics: the words without name=value pairs,
// so that no value (a pass phrase least of all) is repeated.
std::string CommandName(const std::string& program, const std::vector<std::string>& words) {
    std::string name = program;
    for (const std::string& word : words) {
        if (word.find('=') == std::string::npos) name += " " + word;
    }
    return name;
}

// The command a usage is about: the program and the command words before
// the first help word (the deepest command the help word follows).
std::string UsageCommand(const std::string& program, const std::vector<std::string>& words) {
    std::string out = program;
    for (const std::string& word : words) {
        if (vk::IsHelpWord(word) || word.find('=') != std::string::npos) break;
        out += " " + word;
    }
    return out;
}

bool AsksHelp(const std::vector<std::string>& words) {
    return std::any_of(words.begin(), words.end(),
                       [](const std::string& w) { return vk::IsHelpWord(w); });
}

bool HasParameters(const std::vector<std::string>& words) {
    return std::any_of(words.begin(), words.end(),
                       [](const std::string& w) { return w.find('=') != std::string::npos; });
}

// The words as the plug-in gets them: a name that mentions a pass phrase
// in any case is lower-cased. The plug-in compares names ignoring case, and
// its trace leaves out the lower-case spelling, so no phrase reaches it.
std::vector<std::string> PluginWords(const std::vector<std::string>& words) {
    std::vector<std::string> out;
    for (const std::string& word : words) {
        std::string copy = word;
        if (vk::CarriesPassphrase(word)) {
            for (size_t i = 0; i < copy.size() && copy[i] != '='; ++i)
                copy[i] = vk::AsciiLower(copy[i]);
        }
        out.push_back(std::move(copy));
    }
    return out;
}

// The pass phrases the user gave (their values), to be hidden wherever the
// plug-in's response repeats them.
std::vector<std::string> SecretsOf(const std::vector<std::string>& words) {
    std::vector<std::string> secrets;
    for (const std::string& word : words) {
        if (!vk::CarriesPassphrase(word)) continue;
        const std::string value = word.substr(word.find('=') + 1);
        if (!value.empty()) secrets.push_back(value);
    }
    return secrets;
}

std::string WithProgram(std::string_view format, const std::string& program) {
    std::string out;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] == '%' && i + 1 < format.size() && format[i + 1] == 's') {
            out += program;
            ++i;
        } else {
            out += format[i];
        }
    }
    return out;
}

std::string Str(const char* text) {
    return text != nullptr ? std::string(text) : std::string();
}

// Turns the plug-in's response into an outcome; renders what needs it.
class Responder {
  public:
    Responder(std::string program, std::string command, fs::path share, Format format,
              std::vector<std::string> secrets)
        : program_(std::move(program)),
          command_(std::move(command)),
          share_(std::move(share)),
          format_(format),
          secrets_(std::move(secrets)) {}

    Outcome Convert(const CLPSResponse& resp, const std::string& command) {
        Outcome out;
        for (uint32_t i = 0; i < resp.requestCount && resp.ppRequest != nullptr; ++i) {
            if (resp.ppRequest[i] != nullptr)
                out.request.push_back(vk::HidePassphrase(resp.ppRequest[i]));
        }
        uint32_t kind = resp.kind;
        if (kind == CLPS_RESP_NONE) {
            if (resp.dataType == CLPS_DATATYPE_TEXT) {
                kind = CLPS_RESP_TEXT;
            } else if (resp.pDataBuf != nullptr) {
                kind = CLPS_RESP_XML;
            } else {
                throw HostError(kExitFailure,
                                "the plug-in gave an empty answer for '" + command + "'");
            }
        }
        switch (kind) {
            case CLPS_RESP_XML:
                FromXml(resp, command, out);
                break;
            case CLPS_RESP_MESSAGE:
                FromMessage(resp, out);
                break;
            case CLPS_RESP_USAGE:
                FromUsage(resp, out);
                break;
            case CLPS_RESP_TEXT:
                out.text = Str(resp.pDataBuf);
                out.xml = "<Text>" + vk::XmlEscaped(out.text) + "</Text>";
                break;
            case CLPS_RESP_DRYRUN:
                out.status = Status::DryRun;
                out.text = "Would send to " + std::string(kAgent) + ":\n";
                out.xml = "<DryRun agent=\"" + std::string(kAgent) + "\">";
                for (const std::string& pair : out.request) {
                    out.text += "  " + pair + "\n";
                    out.xml += "<Request>" + vk::XmlEscaped(pair) + "</Request>";
                }
                out.xml += "</DryRun>";
                break;
            default:
                throw HostError(kExitFailure, "the plug-in gave an answer of unknown kind " +
                                                  std::to_string(kind) + " for '" + command + "'");
        }
        return out;
    }

    // The outcome of a command whose agent could not be used.
    Outcome Unavailable(const std::string& agent, const std::string& cause) {
        Outcome out;
        Message(kAgentUnavailable, agent, cause, out);
        return out;
    }

  private:
    Renderer& renderer() {
        if (!renderer_) renderer_ = std::make_unique<Renderer>(share_, program_, command_);
        return *renderer_;
    }

    const MessageCatalogue& catalogue() {
        if (!catalogue_) catalogue_ = MessageCatalogue::Load(share_ / "messages.txt");
        return *catalogue_;
    }

    static std::string StyleOf(const CLPSResponse& resp) {
        return resp.pStyleSheet != nullptr && *resp.pStyleSheet != '\0'
                   ? std::string(resp.pStyleSheet)
                   : std::string(kDefaultStyleSheet);
    }

    void FromXml(const CLPSResponse& resp, const std::string& command, Outcome& out) {
        if (resp.pDataBuf == nullptr)
            throw HostError(kExitFailure,
                            "the plug-in's answer for '" + command + "' holds no data");
        // Read where it lies: a long answer is not copied, only parsed.
        const std::string_view xml(resp.pDataBuf);
        XmlAnswer answer;
        if (format_ == Format::Text) {
            // The status is read as the answer is rendered, in one pass.
            out.text = renderer().Render(xml, StyleOf(resp), &answer);
        } else {
            if (format_ == Format::Xml) out.xml = xml;
            answer = ReadXmlAnswer(xml, format_ == Format::Json);
            out.objects = std::move(answer.objects);
        }
        if (answer.Failed()) {
            out.exitCode = kExitRefused;
            out.status = Status::Refused;
            out.diagnostic = answer.message.empty()
                                 ? "the command failed with status " + *answer.status
                                 : answer.message;
            out.text = out.diagnostic;
        } else if (format_ == Format::Json) {
            out.text = renderer().Render(xml, StyleOf(resp));
        }
        // Scripts get the words the text shows, decoded by the same
        // stylesheets, so they never decode a code themselves.
        if (format_ == Format::Json && !out.objects.empty())
            out.labels = ReadLabels(renderer().Render(xml, std::string(kLabelsStyleSheet)));
    }

    // A message argument that is a pass phrase the user gave is shown as
    // "***" (a refused phrase comes back as the offending value).
    std::string Shown(std::string arg) const {
        for (const std::string& secret : secrets_) {
            if (arg == secret) return "***";
        }
        return arg;
    }

    void FromMessage(const CLPSResponse& resp, Outcome& out) {
        Message(resp.msgId, Shown(Str(resp.msgArg1)), Shown(Str(resp.msgArg2)), out);
    }

    void Message(uint32_t id, const std::string& arg1, const std::string& arg2, Outcome& out) {
        out.message = id;
        out.args = {arg1, arg2};
        out.hasArgs = true;
        if (auto text = catalogue().Format(id, arg1, arg2)) {
            out.text = std::move(*text);
        } else {
            // A number the catalogue lacks still tells the user what was wrong.
            out.text = "message " + std::to_string(id);
            if (!arg1.empty()) out.text += ": " + arg1;
            if (!arg2.empty()) out.text += "; valid values: " + arg2;
        }
        for (const MessageRange& range : kMessageRanges) {
            if (id >= range.first && id <= range.last) {
                out.exitCode = range.exitCode;
                out.status = range.status;
            }
        }
        if (out.exitCode != kExitDone) out.diagnostic = out.text;
        out.xml = "<Message number=\"" + std::to_string(id) + "\"><Text>" +
                  vk::XmlEscaped(out.text) + "</Text><Arg>" + vk::XmlEscaped(arg1) + "</Arg><Arg>" +
                  vk::XmlEscaped(arg2) + "</Arg></Message>";
    }

    void FromUsage(const CLPSResponse& resp, Outcome& out) {
        out.status = Status::Usage;
        const bool generated = resp.pUsageXML != nullptr && *resp.pUsageXML != '\0';
        uint32_t id = resp.msgId;
        // Number 0 leaves the choice to the host: the command's own usage.
        if (id == 0 && !generated) id = program_ == "vkconfig" ? kConfigUsage : kReportUsage;
        if (id != 0) {
            out.message = id;
            if (auto text = catalogue().Format(id, "", "")) out.text = std::move(*text) + "\n";
        }
        if (generated) {
            out.xml = resp.pUsageXML;
            if (format_ != Format::Xml) out.text += renderer().Render(out.xml, StyleOf(resp));
        } else if (out.text.empty()) {
            throw HostError(kExitFailure, "no usage text for message " + std::to_string(id) +
                                              " in " + (share_ / "messages.txt").string());
        } else {
            out.xml = "<Message number=\"" + std::to_string(id) + "\"><Text>" +
                      vk::XmlEscaped(out.text) + "</Text></Message>";
        }
    }

    std::string program_;
    std::string command_;
    fs::path share_;
    Format format_;
    std::vector<std::string> secrets_;
    std::unique_ptr<Renderer> renderer_;
    std::optional<MessageCatalogue> catalogue_;
};

Outcome ErrorOutcome(int exitCode, std::string text) {
    Outcome out;
    out.exitCode = exitCode;
    out.status = exitCode == kExitRights ? Status::Refused : Status::Error;
    out.diagnostic = std::move(text);
    return out;
}

// The plug-in's response to a command line, or null.
Plugin::ResponsePtr SendCaptured(const Plugin& plugin, const std::vector<const char*>& argv,
                                 std::string& console) {
    StdoutCapture capture;
    Plugin::ResponsePtr resp = plugin.Send(argv);
    console += capture.Finish();
    return resp;
}

Outcome RunCommand(const std::string& program, const Options& opts) {
    const std::string command = CommandName(program, opts.words);
    const std::string hint = " (try '" + program + " storage -?')";
    EnsureTraceRoot();
    const Locations where = FindLocations();
    const HostConfig config = LoadHostConfig(where.share, [&program](const std::string& text) {
        std::fprintf(stderr, "%s: warning: %s\n", program.c_str(), text.c_str());
    });

    const std::vector<std::string> words = PluginWords(opts.words);
    std::vector<const char*> argv{program.c_str()};
    for (const std::string& word : words) argv.push_back(word.c_str());

    const Plugin plugin(where.plugin);
    // Help never runs a command, so it needs no rights. A line no command
    // serves needs none either: the plug-in only names what it does not know.
    const bool help = AsksHelp(opts.words);
    const uint32_t required = plugin.RequiredRights(argv);
    if (!help && required != 0 && (required & ~HeldRights(config.adminGroup)) != 0) {
        throw HostError(kExitRights, "you need administrator rights for '" + command + "' (" +
                                         os::AdministratorName() + " or group " +
                                         config.adminGroup + ")");
    }
    if (opts.dryRun) plugin.RequestDryRun();

    plugin.ClearAgentFailure();
    std::string console;
    Plugin::ResponsePtr resp = SendCaptured(plugin, argv, console);
    // No answer to a bare command ("vkreport storage") or to a help request
    // the command could not serve: show the usage of the command words.
    const std::string usageCommand = UsageCommand(program, words);
    if (!resp && (help || !HasParameters(opts.words))) {
        std::vector<const char*> usageArgv{program.c_str()};
        for (const std::string& word : words) {
            if (vk::IsHelpWord(word) || word.find('=') != std::string::npos) break;
            usageArgv.push_back(word.c_str());
        }
        usageArgv.push_back("-?");
        resp = SendCaptured(plugin, usageArgv, console);
        if (resp && resp->kind != CLPS_RESP_USAGE) resp.reset();
    }
    Responder responder(program, usageCommand, where.share, opts.format, SecretsOf(opts.words));
    Outcome out;
    if (!resp) {
        out = ErrorOutcome(kExitCommandLine, "command not understood: '" + command + "'" + hint);
    } else {
        try {
            out = responder.Convert(*resp, command);
        } catch (const HostError& error) {
            out = ErrorOutcome(error.exitCode, error.what());
        }
    }
    // The plug-in's checks take an agent that gave no answer for "not
    // valid": why it could not answer comes before any refusal they made.
    const auto failure = out.exitCode != kExitDone ? plugin.TheAgentFailure() : std::nullopt;
    if (failure) {
        try {
            Outcome unavailable = responder.Unavailable(failure->agent, failure->cause);
            unavailable.request = std::move(out.request);
            out = std::move(unavailable);
        } catch (const HostError& error) {
            out = ErrorOutcome(error.exitCode, error.what());
        }
    }
    out.console = std::move(console);
    return out;
}

int Run(int argc, char** argv) {
    const std::string program = argc > 0 ? os::ProgramName(argv[0]) : "";
    Options opts;
    try {
        if (program != "vkreport" && program != "vkconfig") {
            throw HostError(
                kExitCommandLine,
                "this program must be run as vkreport or vkconfig, not '" + program + "'");
        }
        ParseOptions(argc, argv, program, opts);
        Outcome out;
        if (opts.describe && !opts.help && !opts.version) {
            // The description is one JSON document whatever the format asked.
            return Emit(Describe(program, opts), Format::Text, program);
        }
        if (opts.help || opts.version) {
            out.status = opts.help ? Status::Usage : Status::Ok;
            out.text = opts.help ? WithProgram(kHelp, program) : program + " " + VK_VERSION + "\n";
            out.xml = "<Text>" + vk::XmlEscaped(out.text) + "</Text>";
        } else if (opts.words.empty()) {
            throw HostError(kExitCommandLine, "no command given (try '" + program +
                                                  " storage -?' or '" + program + " --help')");
        } else {
            out = RunCommand(program, opts);
        }
        return Emit(out, opts.format, program);
    } catch (const HostError& error) {
        return Emit(ErrorOutcome(error.exitCode, error.what()), opts.format, program);
    } catch (const std::exception& error) {
        return Emit(ErrorOutcome(kExitFailure, std::string("internal failure: ") + error.what()),
                    opts.format, program);
    }
}

}  // namespace
}  // namespace vk::host

int main(int argc, char** argv) {
    vk::os::UseBinaryStandardStreams();
    std::vector<std::string> args = vk::os::Arguments(argc, argv);
    std::vector<char*> words;
    for (std::string& word : args) words.push_back(word.data());
    words.push_back(nullptr);
    return vk::host::Run(static_cast<int>(args.size()), words.data());
}
