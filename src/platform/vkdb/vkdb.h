/* Data-agent access (vkadb64). An agent is found by its prefix ("kvda"):
 * either a module lib<prefix>.so (<prefix>.dll on Windows) in the agents
 * directory, or an in-process agent installed by a test. The transport stays
 * behind these functions. */
#ifndef VK_PLATFORM_VKDB_H
#define VK_PLATFORM_VKDB_H

#include <stdint.h>

#include "vk_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef vkadb64_EXPORTS
#define VK_VKDB_EXPORT VK_DLL_EXPORT
#else
#define VK_VKDB_EXPORT VK_DLL_IMPORT
#endif

/* Non-zero (low 16 bits) when the agent can be reached. */
VK_VKDB_EXPORT uint32_t VKDBPluginInstalledByPrefix(const char* prefix);
/* A handle for the agent, 0 when there is none. Handles stay valid until
 * the process ends or the in-process agent is removed. */
VK_VKDB_EXPORT uintptr_t VKDBPluginGetIDByPrefix(const char* prefix);
/* Sends a name/value list (first entry "vkacmd=<request>") and returns the
 * agent's XML answer, to be released with VKDBPluginFreeData; null when the
 * agent did not answer. An answer that is not well-formed XML content is
 * never handed out: it is released and counts as no answer. */
VK_VKDB_EXPORT char* VKDBPluginSendCmd(uintptr_t id, uint32_t count, const char** nvPairs);
VK_VKDB_EXPORT void VKDBPluginFreeData(uintptr_t id, char* data);

/* ---- agents that cannot be used -----------------------------------------
 * When an agent gives no answer (its module cannot be loaded, it cannot use
 * its state, or what it answered is not well-formed XML) the calls above
 * record why for the calling thread: the agent's prefix and a cause that
 * names the file at fault. The latest record stays, whatever answers
 * follow, until VKDBPluginClearFailure: whoever reports a command's outcome
 * learns why its requests went unanswered, whatever the code in between
 * made of the missing answers. */
/* 1 with the prefix and the cause (valid until the thread clears them), or
 * 0 when nothing was recorded; either pointer may be null. */
VK_VKDB_EXPORT int32_t VKDBPluginGetFailure(const char** prefix, const char** cause);
VK_VKDB_EXPORT void VKDBPluginClearFailure(void);

/* ---- agent modules ------------------------------------------------------
 * An agent module exports these two functions with C linkage, marked with
 * VKDB_AGENT_EXPORT. */
#define VKDB_AGENT_EXPORT VK_DLL_EXPORT
typedef char* (*VKDBAgentSendCmdFunc)(void* context, uint32_t count, const char** nvPairs);
typedef void (*VKDBAgentFreeDataFunc)(void* context, char* data);
#define VKDB_AGENT_SEND_SYMBOL "VKDBAgentSendCmd"
#define VKDB_AGENT_FREE_SYMBOL "VKDBAgentFreeData"
/* Module agents are called with a null context. A module may also export
 * VKDBAgentFailure: why the calling thread's last VKDBAgentSendCmd gave no
 * answer, naming the file at fault ("state file /var/lib/vk/kvda.db: file is
 * not a database"), or null when it cannot tell. */
typedef const char* (*VKDBAgentFailureFunc)(void* context);
#define VKDB_AGENT_FAILURE_SYMBOL "VKDBAgentFailure"

/* In-process agents (tests, embedding): installed agents take precedence
 * over modules of the same prefix. Installing again replaces; removing
 * with VKDBPluginRemoveAgent falls back to the module. 0 on success. */
VK_VKDB_EXPORT int32_t VKDBPluginInstallAgent(const char* prefix, VKDBAgentSendCmdFunc send,
                                              VKDBAgentFreeDataFunc freeData, void* context);
VK_VKDB_EXPORT void VKDBPluginRemoveAgent(const char* prefix);

/* The directory searched for agent modules: $VK_AGENT_DIR when set, else
 * "agents" beside this library. */
VK_VKDB_EXPORT const char* VKDBPluginAgentDir(void);

#ifdef __cplusplus
}
#endif

#endif
