// vkreport and vkconfig: one program serving both names. It checks the
// user's rights, hands the command line to the storage plug-in and writes
// the plug-in's answer as text, XML or JSON.
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <limits>

#include "host.h"
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

constexpr uint32_t kReportUsage = 6000;
constexpr uint32_t kConfigUsage = 6001;

constexpr std::string_view kHelp =
    "Usage: %s [OPTIONS] WORD... [name=value]...\n"
    "Hands a storage command to the storage plug-in and shows its answer.\n"
    "\n"
    "Options (before the command words):\n"
    "  --format=text|xml|json  output format (default text)\n"
    "  --dry-run               vkconfig only: check the command and show the\n"
    "                          request without sending it\n"
    "  --describe              print every storage command as JSON\n"
    "  --help                  show this help\n"
    "  --version               show the version\n"
    "\n"
    "Type '%s storage -?' for the storage objects.\n"
    "Exit status: 0 carried out, 1 refused, 2 command line not understood,\n"
    "3 insufficient rights, 4 agent unavailable or internal failure.\n";

// Parses options into opts as it goes, so that an error in a later option is
// already written in the format asked before it.
void ParseOptions(int argc, char** argv, const std::string& program, Options& opts) {
    bool inOptions = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (!inOptions || !arg.starts_with("--")) {
            inOptions = false;
            opts.words.emplace_back(arg);
        } else if (arg == "--") {
            inOptions = false;
        } else if (arg.starts_with("--format=")) {
            const std::string_view value = arg.substr(std::strlen("--format="));
            if (value == "text") {
                opts.format = Format::Text;
            } else if (value == "xml") {
                opts.format = Format::Xml;
            } else if (value == "json") {
                opts.format = Format::Json;
            } else {
                throw HostError(kExitCommandLine, "unknown output format '" + std::string(value) +
                                                      "': use text, xml or json");
            }
        } else if (arg == "--dry-run") {
            if (program != "vkconfig")
                throw HostError(kExitCommandLine, "--dry-run is only for vkconfig");
            opts.dryRun = true;
        } else if (arg == "--describe") {
            opts.describe = true;
        } else if (arg == "--help") {
            opts.help = true;
        } else if (arg == "--version") {
            opts.version = true;
        } else {
            throw HostError(kExitCommandLine, "unknown option '" + std::string(arg) + "' (try '" +
                                                  program + " --help')");
        }
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

// The command words without the help request, for generated usage lines.
std::string UsageCommand(const std::string& command) {
    std::string out;
    size_t start = 0;
    while (start <= command.size()) {
        size_t end = command.find(' ', start);
        if (end == std::string::npos) end = command.size();
        const std::string word = command.substr(start, end - start);
        std::string lower = word;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (!word.empty() && word != "-?" && lower != "help")
            out += (out.empty() ? "" : " ") + word;
        start = end + 1;
    }
    return out;
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
    Responder(std::string program, std::string command, fs::path share, Format format)
        : program_(std::move(program)),
          command_(std::move(command)),
          share_(std::move(share)),
          format_(format) {}

    Outcome Convert(const CLPSResponse& resp, const std::string& command) {
        Outcome out;
        for (uint32_t i = 0; i < resp.requestCount && resp.ppRequest != nullptr; ++i) {
            if (resp.ppRequest[i] != nullptr)
                out.request.push_back(HidePassphrase(resp.ppRequest[i]));
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
        out.xml = resp.pDataBuf;
        XmlAnswer answer = ReadXmlAnswer(out.xml);
        out.objects = std::move(answer.objects);
        // Answers the plug-in builds itself may carry no status: success.
        const std::string status = answer.status.value_or("0");
        if (status.find_first_not_of(" \t\r\n0") != std::string::npos) {
            out.exitCode = kExitRefused;
            out.status = Status::Refused;
            out.diagnostic = answer.message.empty() ? "the command failed with status " + status
                                                    : answer.message;
            out.text = out.diagnostic;
        } else if (format_ != Format::Xml) {
            out.text = renderer().Render(out.xml, StyleOf(resp));
        }
    }

    void FromMessage(const CLPSResponse& resp, Outcome& out) {
        const uint32_t id = resp.msgId;
        const std::string arg1 = Str(resp.msgArg1);
        const std::string arg2 = Str(resp.msgArg2);
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

Outcome RunCommand(const std::string& program, const Options& opts) {
    const std::string command = CommandName(program, opts.words);
    const std::string hint = " (try '" + program + " storage -?')";
    EnsureTraceRoot();
    const Locations where = FindLocations();
    const HostConfig config = LoadHostConfig(where.share, [&program](const std::string& text) {
        std::fprintf(stderr, "%s: warning: %s\n", program.c_str(), text.c_str());
    });

    std::vector<const char*> argv{program.c_str()};
    for (const std::string& word : opts.words) argv.push_back(word.c_str());

    const Plugin plugin(where.plugin);
    const uint32_t required = plugin.RequiredRights(argv);
    if (required == 0)
        throw HostError(kExitCommandLine, "command not understood: '" + command + "'" + hint);
    if ((required & ~HeldRights(config.adminGroup)) != 0) {
        throw HostError(kExitRights, "you need administrator rights for '" + command +
                                         "' (root or group " + config.adminGroup + ")");
    }
    if (opts.dryRun) plugin.RequestDryRun();

    Plugin::ResponsePtr resp;
    std::string console;
    {
        StdoutCapture capture;
        resp = plugin.Send(argv);
        console = capture.Finish();
    }
    Outcome out;
    if (!resp) {
        out = ErrorOutcome(kExitCommandLine, "command not understood: '" + command + "'" + hint);
    } else {
        try {
            Responder responder(program, UsageCommand(command), where.share, opts.format);
            out = responder.Convert(*resp, command);
        } catch (const HostError& error) {
            out = ErrorOutcome(error.exitCode, error.what());
        }
    }
    out.console = std::move(console);
    return out;
}

int Run(int argc, char** argv) {
    const std::string program = argc > 0 ? fs::path(argv[0]).filename().string() : "";
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
    return vk::host::Run(argc, argv);
}
