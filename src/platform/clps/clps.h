/* Command-line plug-in support (vkclps64): command table matching, rights,
 * responses, usage help, requests to a data agent and the table-driven
 * command frame. C linkage; shared by the host and its plug-ins, so host
 * settings made here (dry run) are seen by the plug-in's calls. */
#ifndef VK_PLATFORM_CLPS_H
#define VK_PLATFORM_CLPS_H

#include <stdint.h>

#include "vk_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef vkclps64_EXPORTS
#define VK_CLPS_EXPORT VK_DLL_EXPORT
#else
#define VK_CLPS_EXPORT VK_DLL_IMPORT
#endif

/* ---- response object ----------------------------------------------------
 * The first eight fields are the record every plug-in knows; the rest is
 * what the host needs to render and report. Everything a response points to
 * is owned by it and released by CLPSFreeResponse. */
typedef enum CLPSRespKind {
    CLPS_RESP_NONE = 0,
    CLPS_RESP_XML = 1,     /* pDataBuf: agent answer, render with pStyleSheet */
    CLPS_RESP_MESSAGE = 2, /* msgId with msgArg1/msgArg2 (a refusal or a notice) */
    CLPS_RESP_USAGE = 3,   /* msgId names a usage text; pUsageXML may hold generated help */
    CLPS_RESP_TEXT = 4,    /* pDataBuf: plain text value (dataType 22) */
    CLPS_RESP_DRYRUN = 5,  /* nothing sent: ppRequest is what would have been sent */
    CLPS_RESP_DESCRIBE = 6 /* pDataBuf: description of command tables (CLPS_HOST_DESCRIBE) */
} CLPSRespKind;

#define CLPS_DATATYPE_TEXT 22u

typedef struct CLPSResponse {
    uint32_t word1;    /* the library's own */
    uint32_t word2;    /* 0 in a plug-in-built response */
    uint32_t dataType; /* 22 when a plug-in fills it with a text value */
    uint32_t dataLen;  /* bytes of pDataBuf with its terminator */
    char* pDataBuf;
    uint64_t word6; /* 32 in a plug-in-built response */
    uint64_t word7; /* 0 in a plug-in-built response */
    uint32_t word8; /* 41 in a plug-in-built response */
    /* host extension */
    uint32_t kind; /* CLPSRespKind; 0 means: decide from dataType/pDataBuf */
    uint32_t msgId;
    char* pStyleSheet;
    char* msgArg1;
    char* msgArg2;
    char* pUsageXML;
    uint32_t requestCount;
    char** ppRequest; /* the name/value list sent (or, for a dry run, not sent) */
} CLPSResponse;

/* A zeroed response, or null when memory cannot be had. */
VK_CLPS_EXPORT CLPSResponse* CLPSAllocResponse(void);
/* Releases a response and all it owns; null is accepted. */
VK_CLPS_EXPORT void CLPSFreeResponse(CLPSResponse* resp);
/* Copies text into the response's data (terminator included), replacing what
 * was there. 0 on success. */
VK_CLPS_EXPORT int32_t CLPSSetRespData(CLPSResponse* resp, const char* text);

/* ---- command descriptor table ------------------------------------------ */
typedef CLPSResponse* (*CLPSHandlerFunc)(uint32_t argc, const char** argv);

typedef struct CLPSCCDT {
    const char* pCmd; /* leading command words, single blanks: "vkreport storage" */
    const char* pObj; /* the next word: "pdisk" */
    CLPSHandlerFunc handler;
    uint32_t rights; /* CLPS_RIGHTS_READ or CLPS_RIGHTS_CONFIGURE */
} CLPSCCDT;

#define CLPS_RIGHTS_READ 1u
#define CLPS_RIGHTS_CONFIGURE 7u

/* Sorts the table in place, most specific rows (most words) first; the
 * state word records that the table was sorted. 0 on success, non-zero for
 * a null or malformed table. */
VK_CLPS_EXPORT int32_t CLPSSortCCDT(CLPSCCDT* table, uint32_t count, uint32_t* state);
/* The row serving argv: the words of pCmd followed by pObj must begin argv
 * (case ignored); the row with the most words wins. Null when none. */
VK_CLPS_EXPORT const CLPSCCDT* CLPSFindCCDTRow(uint32_t argc, const char** argv,
                                               const CLPSCCDT* table, uint32_t count);
/* The matched row's handler result, or null when no row matches. */
VK_CLPS_EXPORT CLPSResponse* CLPSSendRequest(uint32_t argc, const char** argv, CLPSCCDT* table,
                                             uint32_t count, uint32_t* state);
/* The matched row's rights, 0 when no row matches. */
VK_CLPS_EXPORT uint32_t CLPSGetRequiredUserRights(uint32_t argc, const char** argv, CLPSCCDT* table,
                                                  uint32_t count, uint32_t* state);

typedef void (*CLPSDestroyCLIPFunc)(void);
/* Runs the given clean-up once; the default releases the library's
 * per-process state. */
VK_CLPS_EXPORT void CLPSDestroyCLIP(CLPSDestroyCLIPFunc func);
VK_CLPS_EXPORT void CLPSDefaultDestroyCLIPFunc(void);

/* ---- usage help and messages -------------------------------------------
 * 1 when a word of argv after the program name asks for help ("-?", "-h",
 * "--help" or "help", case ignored), else 0. A help word anywhere on the
 * line makes the command answer with its usage and send nothing. */
VK_CLPS_EXPORT int32_t CLPSIsUsageHelp(uint32_t argc, const char** argv);
/* A message response: msgId with up to two argument texts (null for none).
 * kind is CLPS_RESP_USAGE for usage numbers (6000-6999), else
 * CLPS_RESP_MESSAGE. The reserved arguments are unused (pass 0). */
VK_CLPS_EXPORT CLPSResponse* CLPSNVSetupMsgRespObj(uint32_t msgId, uint32_t reserved,
                                                   const char* arg1, const char* arg2,
                                                   const void* reserved1, const void* reserved2,
                                                   const char* styleSheet);
/* Usage response for a command without a table (system reports): msgId is
 * the usage text; 0 lets the host pick its usage by the command words. */
VK_CLPS_EXPORT CLPSResponse* CLPSSetRespObjUsageXML(uint32_t argc, const char** argv,
                                                    uint32_t msgId, uint32_t reserved,
                                                    const char* styleSheet);
/* For commands that take no name=value arguments: a refusal (message
 * CLPS_MSG_UNEXPECTED_PARAM naming the first such argument) or null. The
 * leading command words are those without "=". */
VK_CLPS_EXPORT CLPSResponse* CLPSNVCheckExtraParams(uint32_t argc, const char** argv,
                                                    const char* styleSheet);

/* ---- requests to a data agent -------------------------------------------
 * Sends nvPairs to the agent; on an answer returns a response whose data is
 * the answer wrapped in <respElement>, with styleSheet; null when the agent
 * is missing or did not answer. Plug-ins call it by this exact name
 * ("Capabilites" included), so the spelling is part of the interface. */
VK_CLPS_EXPORT CLPSResponse* CLPSNVReportCapabilitesXML(const char* agent, uint32_t count,
                                                        const char** nvPairs,
                                                        const char* respElement,
                                                        const char* styleSheet);

/* ---- host settings ------------------------------------------------------ */
#define CLPS_HOST_DRYRUN 0x1u
/* Nothing runs: CLPSSendRequest answers a CLPS_RESP_DESCRIBE response that
 * describes every command of its table (each handler is called with its
 * command words and "-?", and the frame answers with the tables it is given
 * instead of running them). */
#define CLPS_HOST_DESCRIBE 0x2u
VK_CLPS_EXPORT void CLPSSetHostFlags(uint32_t flags);
VK_CLPS_EXPORT uint32_t CLPSGetHostFlags(void);

/* ---- the library's own message numbers ---------------------------------- */
#define CLPS_MSG_MISSING_PARAM 1500     /* %1 parameter, %2 what it takes */
#define CLPS_MSG_UNEXPECTED_PARAM 1501  /* %1 parameter, %2 what is accepted */
#define CLPS_MSG_BAD_KEYWORD 1502       /* %1 name=value, %2 accepted keywords */
#define CLPS_MSG_BAD_VALUE 1503         /* %1 name=value, %2 the form expected */
#define CLPS_MSG_BAD_ACTION 1504        /* %1 action, %2 the actions */
#define CLPS_MSG_MISSING_ACTION 1505    /* %1 object, %2 the actions */
#define CLPS_MSG_NO_MATCHING_ROW 1506   /* %1 command, %2 what it takes */
#define CLPS_MSG_MISSING_GROUP 1507     /* %1 action, %2 the group's members */
#define CLPS_MSG_STRAY_WORD 1508        /* %1 a word that is no name=value, %2 what is expected */
#define CLPS_MSG_UNKNOWN_OBJECT 1509    /* %1 object, %2 the nearest objects */
#define CLPS_MSG_BAD_OBJECT 1510        /* %1 object, %2 the objects */
#define CLPS_MSG_UNKNOWN_WORD 1511      /* %1 command word, %2 the nearest words */
#define CLPS_MSG_BAD_WORD 1512          /* %1 command word, %2 the words valid there */
#define CLPS_MSG_NEAR_ACTION 1513       /* %1 action, %2 the nearest actions */
#define CLPS_MSG_AGENT_UNAVAILABLE 1590 /* %1 agent name, %2 why */
#define CLPS_MSG_NOT_AVAILABLE 1591     /* %1 command: not available yet */
#define CLPS_MSG_OUT_OF_MEMORY 1592

/* ---- table-driven command frame ----------------------------------------- */
typedef struct CLPSNVParamRow {
    const char* pUserName;   /* null for a fixed pair the user never types */
    const char* pOutput;     /* prefix ("GlobalNo=") or complete pair ("set=yes") */
    uint32_t valueType;      /* CLPS_VT_* */
    uint32_t usage;          /* CLPS_USE_* */
    const char* pMatchValue; /* keyword, fixed value, identifier form or largest number */
    uint32_t maxLength;      /* largest text length, 0 unlimited */
} CLPSNVParamRow;

#define CLPS_VT_TEXT 0x1u
#define CLPS_VT_UINT 0x7u
#define CLPS_VT_SMALL_UINT 0x9u
#define CLPS_VT_RATE 0x13u
#define CLPS_VT_ENCLOSURE 0x1001eu
#define CLPS_VT_DISK 0x30000u
#define CLPS_VT_DISK_LIST 0x40030000u

#define CLPS_USE_OPTIONAL 0x0u
#define CLPS_USE_REQUIRED 0x1u
#define CLPS_USE_FIXED 0x2u
#define CLPS_USE_GROUP 0x5u
#define CLPS_USE_FIXED_PAIR 0x6u
#define CLPS_USE_OPT_KEYWORD 0xau
#define CLPS_USE_GROUP_KEYWORD 0xbu
#define CLPS_USE_REQ_KEYWORD 0x10u
#define CLPS_USE_MUST_GIVE 0x12u
#define CLPS_USE_MUST_NOT_GIVE 0x13u

typedef struct CLPSNVActionRow {
    uint32_t kind;         /* CLPS_ROW_ACTION, CLPS_ROW_REPORT or CLPS_ROW_SELECTOR */
    const char* pKeyName;  /* "action"; the selector name for kind 8; null for kind 6 */
    const char* pRequest;  /* "vkacmd=..." */
    const char* pKeyValue; /* action keyword or selector value; null for kind 6 */
    const void* pReserved; /* always null */
    const char* pAgent;    /* "kvda" */
    const CLPSNVParamRow* pParams;
    uint32_t paramCount;
    const char* pStyleSheet; /* null: the handler's stylesheet */
    uint32_t flags;          /* CLPS_ROW_HIDDEN, CLPS_ROW_SYSTEM or 0 */
} CLPSNVActionRow;

/* Row kinds. */
#define CLPS_ROW_ACTION 1u   /* chosen by the value of its key: "action=blink" */
#define CLPS_ROW_REPORT 6u   /* chosen by its parameter rules alone */
#define CLPS_ROW_SELECTOR 8u /* chosen by a selector keyword and value: "info=fans" */
/* Row flags. */
#define CLPS_ROW_HIDDEN 0x80000000u /* accepted, but not listed by the usage help */
#define CLPS_ROW_SYSTEM 0x40000000u /* a system-wide report (summary, version) */
#define CLPS_NV_LIST_MAX 128u       /* entries the data-manager list can hold */
/* Bytes of each of the two error texts: room for the longest list a
 * callback writes (2,048-byte disk lists) with a margin, and for a report's
 * unbounded lists of a large controller. */
#define CLPS_ERR_TEXT_SIZE 16384u
#define CLPS_VALIDATE_SEND 1000

/* The validate callback. ppNVList has room for CLPS_NV_LIST_MAX entries; an
 * entry the callback adds or replaces must stay valid until the frame
 * returns: keep it with CLPSNVKeepString. */
typedef int32_t (*CLPSNVValidateFunc)(void* reserved0, void* reserved1, uint32_t userCount,
                                      const char** userWords, uint32_t* pNVCount,
                                      const char** ppNVList, void* reserved2, void* reserved3,
                                      char* errText1, char* errText2);

/* Copies text into storage that lives until the current frame call returns
 * (null outside a frame call or when memory ran out). */
VK_CLPS_EXPORT const char* CLPSNVKeepString(const char* text);

/* Checks a command table for what the frame relies on: no empty rows, known
 * row kinds, flags, value types and usages (the report-only usages in report
 * rows only), keyword rows that name their keyword, fixed rows with their
 * value, no action, selector value or keyword listed twice (case ignored).
 * 0 when the table is sound; otherwise 1, with what is wrong written to
 * problem (cut to fit). */
VK_CLPS_EXPORT int32_t CLPSNVCheckTable(const CLPSNVActionRow* table, uint32_t rowCount,
                                        char* problem, uint32_t problemSize);
/* The same for a command descriptor table: no empty rows, known rights, one
 * row for each command (case ignored). */
VK_CLPS_EXPORT int32_t CLPSCheckCCDT(const CLPSCCDT* table, uint32_t count, char* problem,
                                     uint32_t problemSize);

VK_CLPS_EXPORT CLPSResponse* CLPSNVCmdConfigFunc(uint32_t argc, const char** argv,
                                                 uint32_t usageMsgId, uint32_t secondMsgId,
                                                 const CLPSNVActionRow* table, uint32_t rowCount,
                                                 const char* styleSheet,
                                                 CLPSNVValidateFunc validate);

/* One candidate table of a handler that chooses among several, with the
 * callback that checks its rows. */
typedef struct CLPSNVTable {
    const CLPSNVActionRow* pRows;
    uint32_t rowCount;
    CLPSNVValidateFunc validate;
} CLPSNVTable;

/* CLPSNVCmdConfigFunc for a handler that picks its table by the command
 * line: tables[chosen] serves the command, while the usage help and the
 * description list the rows of every candidate, so that everything the
 * handler accepts is shown. */
VK_CLPS_EXPORT CLPSResponse* CLPSNVCmdConfigFuncTables(uint32_t argc, const char** argv,
                                                       uint32_t usageMsgId, uint32_t secondMsgId,
                                                       const CLPSNVTable* tables,
                                                       uint32_t tableCount, uint32_t chosen,
                                                       const char* styleSheet);

#ifdef __cplusplus
}
#endif

#endif
