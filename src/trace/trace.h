/* The plug-in's trace log. Settings live at the head of the trace file
 * itself; lines are appended below them. Callers test the level before they
 * format anything: the writes themselves never test it. */
#ifndef VK_TRACE_H
#define VK_TRACE_H

#include <stdarg.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Levels used across the plug-in. */
#define TRACE_LEVEL_DETAIL 3 /* entry/exit lines, argument trace, allocation failures */
#define TRACE_LEVEL_MODULE 4 /* attach/detach, XML query messages */

/* Starts the trace: target bit set (negative silences, 0 or bit 0 the
 * file, bit 1 standard output, bit 2 standard error) and file name. */
int32_t SysDbgInit(int32_t target, const char* fileName);
/* True when the trace level is at least level. */
int SysDbgIsLevelEnabled(int32_t level);
/* Formatted write to every target; the character count of the last write
 * performed, 0 if none. */
int32_t SysDbgPrint(const char* format, ...) __attribute__((format(printf, 1, 2)));
int32_t SysDbgPrintV(const char* format, va_list args) __attribute__((format(printf, 1, 0)));
/* Sixteen bytes a line: hex, ":" separators, printable characters. */
void SysDbgHexDump(const uint8_t* bytes, uint32_t count);
/* "KVCLP:ENTRY----------->name" / "KVCLP:EXIT------------>name" at level 3. */
void LogFunctionEntry(const char* name);
void LogFunctionExit(const char* name);
/* "KVCLP:CLI_ARGS:" and each argument, leaving out any but the first that
 * contains "passphrase", at level 3. */
void LogCLIArgs(const char** argv, uint32_t argc);

/* For tests: the current settings, and a way back to the unstarted state. */
int32_t SysDbgGetLevel(void);
int32_t SysDbgGetTarget(void);
const char* SysDbgGetPath(void);
void SysDbgReset(void);

#ifdef __cplusplus
}
#endif

#endif
