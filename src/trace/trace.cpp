// The plug-in's trace log: settings read from the head of the trace file,
// formatted writes to file / standard output / standard error, hex dump,
// entry and exit lines and the argument trace.
#include "trace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "os/files.h"
#include "os/paths.h"
#include "passphrase.h"
#include "text.h"

namespace {

// Buffer sizes of the settings; names and paths that do not fit fall back or
// are cut exactly as these sizes dictate.
constexpr size_t kNameSize = 32;
constexpr size_t kPathSize = 256;
constexpr size_t kRootSize = 512;
constexpr size_t kLineSize = 256;
constexpr int kSettingsLines = 6;

// Paths use this system's separator: the working directory's file is
// "./name" (".\name" on Windows) and the root's is "root/name". The host
// always sets SystemRoot, so the unset case ("/name") only reaches programs
// that load us on their own.
std::string FallbackPath(const char* name) {
    return std::string(".") + vk::os::PathSeparator() + name;
}

// Copies text into a fixed buffer, cut to fit.
void CopyTruncated(char* dst, size_t size, std::string_view text) {
    const size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(dst, text.data(), n);
    dst[n] = '\0';
}

// Constant-initialised, so the settings are in place before any load-time
// code of the module runs.
struct TraceSettings {
    int32_t level = 0;
    int32_t target = -1;
    char name[kNameSize] = "rvstat64.log";
    // Composed by SysDbgInit from SystemRoot, or the fallback beside the
    // working directory; nothing is written before that.
    char path[kPathSize] = "";
};

TraceSettings g_trace;

// Closes a FILE* on every path.
struct FileCloser {
    void operator()(FILE* f) const {
        if (f != nullptr) std::fclose(f);
    }
};
using File = std::unique_ptr<FILE, FileCloser>;

// The trace shows command lines and the estate's identifiers: a file it
// creates is readable by its owner and the administrators' group only.
constexpr const char* kTraceGroup = "vkadmin";

// Opens the trace file for writing ("w" truncates, "a" appends).
File OpenForWriting(const char* path, bool append) {
    return File(vk::os::OpenPrivateFile(path, append, kTraceGroup));
}

// Leading decimal digits (optional blanks and sign first); 0 when there are
// none. Values beyond 32 bits are clamped rather than wrapped.
int32_t ReadNumber(const char* text) {
    long long v = std::strtoll(text, nullptr, 10);
    if (v > INT32_MAX) return INT32_MAX;
    if (v < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(v);
}

void WriteDefaultSettings() {
    File f = OpenForWriting(g_trace.path, false);
    if (!f) return;  // an unwritable settings file is silently skipped
    std::fprintf(f.get(), "loglevel=%d\nlogtarget=%d\nlogpathfile=%s\n", g_trace.level,
                 g_trace.target, g_trace.path);
}

void ReadSettings() {
    bool pathRead = false;
    {
        File f(std::fopen(g_trace.path, "r"));
        if (!f) {
            WriteDefaultSettings();
            return;
        }
        char line[kLineSize];
        for (int i = 0; i < kSettingsLines; ++i) {
            if (std::fgets(line, sizeof line, f.get()) == nullptr) break;
            size_t len = std::strlen(line);
            if (len > 0 && line[len - 1] == '\n') line[len - 1] = '\0';
            char* eq = std::strchr(line, '=');
            if (eq == nullptr) continue;
            std::string_view key(line, static_cast<size_t>(eq - line));
            const char* value = eq + 1;
            if (vk::EqualsIgnoreCase(key, "loglevel")) {
                int32_t level = ReadNumber(value);
                if (level >= 0) g_trace.level = level;
            } else if (vk::EqualsIgnoreCase(key, "logtarget")) {
                g_trace.target = ReadNumber(value);
            } else if (vk::EqualsIgnoreCase(key, "logpathfile")) {
                if (*value != '\0') {
                    CopyTruncated(g_trace.path, sizeof g_trace.path, value);
                    pathRead = true;
                }
            }
        }
    }
    if (!pathRead) return;
    // The new file's own settings are not read: the first file decides.
    File other(std::fopen(g_trace.path, "r"));
    if (!other) WriteDefaultSettings();
}

int32_t WriteText(const std::string& text) {
    int32_t written = 0;
    if (g_trace.target < 0) return 0;
    if (g_trace.target == 0 || (g_trace.target & 1) != 0) {
        // Opened and closed around every write: no file stays open.
        File f = OpenForWriting(g_trace.path, true);
        if (f)
            written =
                std::fputs(text.c_str(), f.get()) >= 0 ? static_cast<int32_t>(text.size()) : 0;
    }
    if ((g_trace.target & 4) != 0) {
        if (std::fputs(text.c_str(), stderr) >= 0) written = static_cast<int32_t>(text.size());
    }
    if ((g_trace.target & 2) != 0) {
        if (std::fputs(text.c_str(), stdout) >= 0) written = static_cast<int32_t>(text.size());
        std::fflush(stdout);
    }
    return written;
}

}  // namespace

extern "C" {

int32_t SysDbgInit(int32_t target, const char* fileName) {
    const char* name = fileName != nullptr ? fileName : "";
    const bool nameTooLong = std::strlen(name) + 1 >= kNameSize + 1;
    if (!nameTooLong) CopyTruncated(g_trace.name, sizeof g_trace.name, name);

    g_trace.path[0] = '\0';
    bool rootTooLong = false;
    char root[kRootSize] = "";
    // An unset variable reads as an empty root (the file then sits at "/"
    // + name); a value that does not fit the root buffer is a failed read.
    const char* env = std::getenv("SystemRoot");
    const bool readOk = env == nullptr || std::strlen(env) < kRootSize;
    if (env != nullptr && readOk) CopyTruncated(root, sizeof root, env);

    if (!readOk) {
        CopyTruncated(g_trace.path, sizeof g_trace.path, FallbackPath(g_trace.name));
    } else if ((std::strlen(root) + 1) + (std::strlen(g_trace.name) + 1) > kPathSize) {
        CopyTruncated(g_trace.path, sizeof g_trace.path, FallbackPath(g_trace.name));
        rootTooLong = true;
    } else {
        CopyTruncated(g_trace.path, sizeof g_trace.path,
                      std::string(root) + vk::os::PathSeparator() + g_trace.name);
    }

    g_trace.target = target;
    ReadSettings();

    if (nameTooLong) SysDbgPrint("SysDbgInit: input filename too long: %s\n", name);
    if (rootTooLong) SysDbgPrint("SysDbgInit: path from env too long: %s\n", root);
    return 0;
}

int SysDbgIsLevelEnabled(int32_t level) {
    return g_trace.level >= level ? 1 : 0;
}

int32_t SysDbgPrintV(const char* format, va_list args) {
    if (g_trace.target < 0 || format == nullptr) return 0;
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (needed < 0) return 0;
    std::string text(static_cast<size_t>(needed) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    text.resize(static_cast<size_t>(needed));
    return WriteText(text);
}

int32_t SysDbgPrint(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int32_t n = SysDbgPrintV(format, args);
    va_end(args);
    return n;
}

void SysDbgHexDump(const uint8_t* bytes, uint32_t count) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    constexpr size_t kLineLength = 78;
    constexpr size_t kTextColumn = 54;
    if (bytes == nullptr) return;
    for (uint32_t offset = 0; offset < count; offset += 16) {
        const uint32_t n = count - offset < 16 ? count - offset : 16;
        std::string line(kLineLength, ' ');
        for (uint32_t i = 0; i < n; ++i) {
            const uint8_t b = bytes[offset + i];
            line[3 * i] = kHex[b >> 4];
            line[3 * i + 1] = kHex[b & 0xf];
            // Printable range stops at 'z' on purpose: "{|}~" print as '.'.
            line[kTextColumn + i] = (b >= 32 && b <= 122) ? static_cast<char>(b) : '.';
        }
        // A colon between bytes 3/4, 7/8 and 11/12 where both exist.
        for (uint32_t group = 1; group < 4; ++group) {
            if (n > 4 * group) line[12 * group - 1] = ':';
        }
        SysDbgPrint("%s\n", line.c_str());
    }
}

void LogFunctionEntry(const char* name) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) SysDbgPrint("KVCLP:ENTRY----------->%s\n", name);
}

void LogFunctionExit(const char* name) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) SysDbgPrint("KVCLP:EXIT------------>%s\n", name);
}

void LogCLIArgs(const char** argv, uint32_t argc) {
    if (argv == nullptr) argc = 0;
    if (argc > 0 && SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) SysDbgPrint("KVCLP:CLI_ARGS:");
    for (uint32_t i = 0; i < argc; ++i) {
        const char* arg = argv[i] != nullptr ? argv[i] : "";
        // Pass phrases never reach the trace: an argument spelt with the
        // lower-case word is left out (the host lower-cases every name that
        // mentions a pass phrase before it hands the line over).
        if (i > 0 && vk::MentionsPassphrase(arg, vk::PassphraseCase::Exact)) continue;
        if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) SysDbgPrint("%s ", arg);
    }
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) SysDbgPrint("\n");
}

int32_t SysDbgGetLevel(void) {
    return g_trace.level;
}
int32_t SysDbgGetTarget(void) {
    return g_trace.target;
}
const char* SysDbgGetPath(void) {
    return g_trace.path;
}

void SysDbgReset(void) {
    g_trace = TraceSettings{};
}

}  // extern "C"
