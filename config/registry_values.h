#ifndef VTCLASS_CONFIG_REGISTRY_VALUES_H
#define VTCLASS_CONFIG_REGISTRY_VALUES_H

#include <cstdint>

#include "config/product_keys.h"
#include "strings/wide_text.h"

/*
 * Every registry value of the product. What reads one takes its name, range and default from here,
 * and docs/registry-values.md is made of it: the test registry_guide says how when they differ. A
 * new value belongs into one of the lists at the end. No windows.h, for the pure functions.
 */
namespace vtclass::config {

/* Texts are REG_SZ, lists REG_MULTI_SZ, the others REG_DWORD. The numbers are those of
 * Setting::eKind, which knows no lists. */
enum class ValueKind { text = 1, number = 2, range = 3, toggle = 6, debugMask = 7, list = 8 };

struct ValuePlace {
  const ProductKey& key;
  const wchar_t* name;
};

struct ValueType {
  ValueKind kind = ValueKind::number;
  std::uint32_t number = 0;  /* what counts while none is stored */
  std::uint32_t minimum = 0; /* what readers take; both 0: any number */
  std::uint32_t maximum = 0;
  const WideUnit* text = nullptr; /* what counts while none is stored */
};

/* For docs/registry-values.md. */
struct ValueWords {
  const char* read = nullptr; /* when */
  const char* readers = nullptr;
  const char* purpose = nullptr;
  const char* otherwise = nullptr; /* what counts while none is stored, where that is no constant */
};

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): an aggregate, which names its place
struct RegistryValue : ValuePlace, ValueType, ValueWords {};

namespace words {
inline constexpr const char* kLive = "live";
inline constexpr const char* kEachTime = "each time";
inline constexpr const char* kDebugLogs = "debug logs";
inline constexpr const char* kSubscribers = "subscribers";
inline constexpr const char* kSGMon = "clients of service-group monitoring";
inline constexpr const char* kNames = "questions whether a name is this machine";
inline constexpr const char* kDatabases = "questions where the databases are";
inline constexpr const char* kAgent = "the agent, management tools";
inline constexpr const char* kSession = "`vtctl session`";
inline constexpr const char* kAtBegin = "when a session begins";
inline constexpr const char* kThisMachine = "this machine's node name";
}  // namespace words

// The logging key.
inline constexpr RegistryValue kCreateDebugLog = {
    {kLoggingKey, L"CreateDebugLog"},
    {ValueKind::number, 0},
    {words::kLive, words::kDebugLogs, "Other than 0: debug logs are written."}};
inline constexpr RegistryValue kKntaDebugLevel = {
    {kLoggingKey, L"KNTA NDMP Debug Level"},
    {ValueKind::range, 0, 0, 2},
    {words::kLive, words::kSubscribers, "How much is traced."}};
inline constexpr RegistryValue kEngineDebugLevel = {
    {kLoggingKey, L"Engine NDMP Debug Level"},
    {ValueKind::range, 0, 0, 2},
    {words::kLive, "debug logs, subscribers",
     "How much is traced. A debug log only tells it to the component that writes the log.",
     "0; in a debug log 1"}};
inline constexpr RegistryValue kMaxDebugFileEnabled = {
    {kLoggingKey, L"MaxDebugFile Enabled"},
    {ValueKind::toggle, 0, 0, 1},
    {words::kLive, words::kDebugLogs,
     "0: a log goes on in a further file every 20 MB. Otherwise the limits below count."}};
inline constexpr RegistryValue kMaxDebugFileSize = {
    {kLoggingKey, L"MaxDebugFile Size In MB"},
    {ValueKind::number, 4},
    {words::kLive, words::kDebugLogs,
     "How large all files of a log may be together. A size of 0 or 0xFFFFFFFF, or one that is not "
     "above the retention size, counts as 4 with a retention size of 1."}};
inline constexpr RegistryValue kMaxDebugFileRetentionSize = {
    {kLoggingKey, L"MaxDebugFile Retention Size In MB"},
    {ValueKind::number, 1},
    {words::kLive, words::kDebugLogs, "How much of its file a log that wraps keeps."}};
inline constexpr RegistryValue kMaxDebugFileCount = {
    {kLoggingKey, L"MaxDebugFile Count"},
    {ValueKind::number, 1, 1, 200},
    {words::kLive, words::kDebugLogs,
     "How many renamed files are kept, each a part of the size. Beyond the range a log that "
     "renames has no limits: it goes on in a further file every 20 MB."}};
inline constexpr RegistryValue kMaxDebugFileLimitMode = {
    {kLoggingKey, L"MaxDebugFile LimitMode"},
    {ValueKind::number, 0},
    {words::kLive, words::kDebugLogs,
     "What happens at the limit. 1: the one file wraps. Otherwise: it is renamed."}};
inline constexpr RegistryValue kMaxDebugFileAppend = {
    {kLoggingKey, L"MaxDebugFile Append"},
    {ValueKind::toggle, 0, 0, 1},
    {words::kLive, words::kDebugLogs,
     "Nothing in the log itself; it tells the value to its component."}};
inline constexpr RegistryValue kMaxDebugFileMsg = {
    {kLoggingKey, L"MaxDebugFile Msg"},
    {ValueKind::number, 0},
    {"when a log is made or updated", words::kDebugLogs,
     "Nothing in the log itself; it tells its component whether the value is 1."}};
inline constexpr RegistryValue kMaxDebugFileExt = {
    {kLoggingKey, L"MaxDebugFile Ext"},
    {.kind = ValueKind::text, .text = VTCLASS_WIDE(".bak")},
    {"when a log is made or updated", words::kDebugLogs,
     "What stands between the name and the number of a renamed file. With a character that file "
     "names cannot have a log that renames has no limits."}};

// The debug key.
inline constexpr RegistryValue kSdkLog = {
    {kDebugKey, L"VTMSDKLog"},
    {ValueKind::toggle, 0, 0, 1},
    {words::kLive, words::kSubscribers, "1: the SDK's debug log is written."}};
inline constexpr RegistryValue kSdkMaxDebugFileEnabled = {
    {kDebugKey, L"MaxDebugFile Enabled"},
    {ValueKind::toggle, 0, 0, 1},
    {words::kLive, words::kSubscribers, "1: the SDK's debug log has the limits below."}};
inline constexpr RegistryValue kSdkMaxDebugFileSize = {
    {kDebugKey, L"MaxDebugFile Size In MB"},
    {ValueKind::number, 4},
    {words::kLive, words::kSubscribers, "The size of the SDK's debug log."}};
inline constexpr RegistryValue kSdkMaxDebugFileCount = {
    {kDebugKey, L"MaxDebugFile Count"},
    {ValueKind::number, 1},
    {words::kLive, words::kSubscribers, "The number of its renamed files."}};
inline constexpr RegistryValue kSdkLogPath = {
    {kDebugKey, L"Path"},
    {ValueKind::text},
    {words::kLive, words::kSubscribers, "Where the SDK's debug log lies."}};
inline constexpr RegistryValue kSdkMaxDebugFileRetentionSize = {
    {kDebugKey, L"MaxDebugFile Retention Size In MB"},
    {ValueKind::number, 1},
    {words::kLive, words::kSubscribers, "How much of the SDK's debug log stays when it wraps."}};
inline constexpr RegistryValue kSdkLimitMode = {
    {kDebugKey, L"MaxDebugFile LimitMode"},
    {ValueKind::number, 0},
    {words::kLive, words::kSubscribers,
     "What happens when the SDK's debug log has reached its limit."}};
inline constexpr RegistryValue kSGMonEnabled = {{kDebugKey, L"SGMon Enabled"},
                                                {ValueKind::number, 0},
                                                {"at the start and at each wake-up", words::kSGMon,
                                                 "Other than 0: service-group monitoring is on."}};
inline constexpr RegistryValue kSGMonComponents = {
    {kDebugKey, L"SGMon Components"},
    {ValueKind::number, 0},
    {"at the start and at each wake-up", words::kSGMon,
     "For which components: the sum of engine 1, agent 2, device-media 4, catalog 8, job-manager "
     "16, ndmp 32, library 64."}};
inline constexpr RegistryValue kSdkDebugLevel = {
    {kDefaultProductDebugKey, L"VTMSDKLevel"},
    {ValueKind::debugMask, 0},
    {words::kLive, words::kSubscribers,
     "How much the SDK traces. The bits 2, 4 and 8, each only with those before it, stand for the "
     "levels 2, 3 and 4; otherwise the level is 1. Only a change of the level is told."}};

// The keys of name resolution, of the product, of the Oracle agent.
inline constexpr RegistryValue kDnsQueryTimeout = {
    {kTcpIpKey, L"DnsQueryTimeOut"},
    {ValueKind::number, 5000, 1000, 60000},
    {"once in a process", words::kNames,
     "How many milliseconds a DNS query may take. 0xFFFFFFFF is no limit, any other number beyond "
     "the range counts as 5000."}};
inline constexpr RegistryValue kLanguage = {
    {kProductRoot, L"Language"},
    {ValueKind::text},
    {"when the messages are loaded", "message texts",
     "Two letters such as DE: the messages come from `vterrors_DE.dll` where that is installed, "
     "and the thread that loads them gets the language's locale.",
     "the texts of `vterrors.dll`"}};
inline constexpr RegistryValue kOracleSid = {
    {kOracleAgentKey, L"SID"},
    {ValueKind::text},
    {words::kEachTime, words::kNames, "The SID of the database."}};
inline constexpr RegistryValue kOracleIsRac = {{kOracleAgentKey, L"Is RAC"},
                                               {ValueKind::number, 0},
                                               {words::kEachTime, words::kNames,
                                                "Other than 0: names that begin with `RAC-`, the "
                                                "database, `-` and its `DBID` are this machine."}};
inline constexpr RegistryValue kOracleDbId = {
    {kOracleAgentKey, L"DBID"},
    {ValueKind::text},
    {words::kEachTime, words::kNames, "The identifier of the database."}};

// The agents key.
inline constexpr RegistryValue kLogonUserType = {
    {kAgentsKey, L"LogonUserType"},
    {ValueKind::number},
    {"at each logon", "agents that act as a job's account",
     "How the account is logged on, by the system's number, whatever it is: 2 interactive, 3 "
     "network, 4 batch, 5 service, 7 unlock, 8 network in clear text, 9 new credentials.",
     "4; on systems before version 6 it is 2"}};
inline constexpr RegistryValue kAdvertisingDisabled = {
    {kAgentsKey, L"Advertising Disabled"},
    {ValueKind::number, 0},
    {words::kEachTime, words::kAgent, "Other than 0: the agent does not advertise."}};
inline constexpr RegistryValue kMediaServers = {
    {kAgentsKey, L"Agent Directory List"},
    {ValueKind::list},
    {words::kEachTime, words::kAgent, "The media servers that the agent advertises to."}};
inline constexpr RegistryValue kPurgePending = {
    {kAgentsKey, L"Advertisement Purge"},
    {ValueKind::number, 0},
    {words::kEachTime, words::kAgent, "Other than 0: the media servers below are to be told."}};
inline constexpr RegistryValue kPurgeServers = {
    {kAgentsKey, L"Advertisement Purge Media Server"},
    {ValueKind::list},
    {words::kEachTime, words::kAgent, "The media servers that are to forget the agent."}};
inline constexpr RegistryValue kAdvertisingInterval = {
    {kAgentsKey, L"Advertising Interval Minutes"},
    {ValueKind::number},
    {words::kEachTime, words::kAgent, "How many minutes lie between two advertisements.",
     "nothing"}};
inline constexpr RegistryValue kAdvertiseNow = {
    {kAgentsKey, L"Advertise Now"},
    {ValueKind::number, 0},
    {words::kEachTime, words::kAgent, "Other than 0: the agent is to advertise at once."}};
inline constexpr RegistryValue kAutoDiscoveryEnabled = {
    {kAgentsKey, L"Auto Discovery Enabled"},
    {ValueKind::number, 1},
    {words::kEachTime, words::kAgent, "Other than 0: automatic discovery is on."}};
inline constexpr RegistryValue kPublishedNames = {
    {kAgentsKey, L"Advertised Name Ok List"},
    {ValueKind::list},
    {words::kEachTime, words::kAgent, "The names of this machine that the agent publishes."}};

// The install key.
inline constexpr RegistryValue kMajorVersion = {
    {kInstallKey, L"Major Version"},
    {ValueKind::number},
    {words::kEachTime, "management tools", "Tells the agent's version.", "no agent is installed"}};

// The keys of the databases.
inline constexpr RegistryValue kDatabaseServerName = {
    {kProductDatabaseKey, L"Database Server Name"},
    {ValueKind::text},
    {words::kEachTime, words::kDatabases, "The server. An empty one counts as missing.",
     words::kThisMachine}};
inline constexpr RegistryValue kDatabaseInstanceName = {
    {kProductDatabaseKey, L"Database Instance Name"},
    {.kind = ValueKind::text, .text = VTCLASS_WIDE("Vantorl")},
    {words::kEachTime, words::kDatabases,
     "The instance of SQL Server. An empty one is SQL Server's default instance."}};
inline constexpr RegistryValue kDatabaseName = {
    {kProductDatabaseKey, L"Database Name"},
    {.kind = ValueKind::text, .text = VTCLASS_WIDE("VTDB")},
    {words::kEachTime, words::kDatabases, "The database. An empty one counts as missing."}};
inline constexpr RegistryValue kServerDatabaseServerName = {
    {kVTDatabaseKey, L"Server Database Server Name"},
    {ValueKind::text},
    {words::kEachTime, words::kDatabases, "The server of the server's database.",
     words::kThisMachine}};
inline constexpr RegistryValue kServerDatabaseInstanceName = {
    {kVTDatabaseKey, L"Server Database Instance Name"},
    {.kind = ValueKind::text, .text = kDatabaseInstanceName.text},
    {words::kEachTime, words::kDatabases, "Its instance."}};
inline constexpr RegistryValue kServerDatabaseName = {
    {kVTDatabaseKey, L"Server Database Name"},
    {.kind = ValueKind::text, .text = kDatabaseName.text},
    {words::kEachTime, words::kDatabases, "The server's database."}};
inline constexpr RegistryValue kCatalogDatabaseServerName = {
    {kVTDatabaseKey, L"Catalog Database Server Name"},
    {ValueKind::text},
    {words::kEachTime, words::kDatabases, "The server of the catalogue's database.",
     words::kThisMachine}};
inline constexpr RegistryValue kCatalogDatabaseInstanceName = {
    {kVTDatabaseKey, L"Catalog Database Instance Name"},
    {.kind = ValueKind::text, .text = kDatabaseInstanceName.text},
    {words::kEachTime, words::kDatabases, "Its instance."}};
inline constexpr RegistryValue kCatalogDatabaseName = {
    {kVTDatabaseKey, L"Catalog Database Name"},
    {.kind = ValueKind::text, .text = kDatabaseName.text},
    {words::kEachTime, words::kDatabases, "The catalogue's database."}};

// The key of vtctl session.
inline constexpr RegistryValue kSessionJobName = {
    {kSessionKey, L"Job Name"},
    {.kind = ValueKind::text, .text = VTCLASS_WIDE("Backup session")},
    {words::kAtBegin, words::kSession,
     "The job's name in its log, where the command line gives none."}};
inline constexpr RegistryValue kSessionReadFileData = {
    {kSessionKey, L"Read File Data"},
    {ValueKind::range, 1, 0, 1},
    {words::kAtBegin, words::kSession, "0: folders are listed and no file is opened."}};
inline constexpr RegistryValue kSessionBufferSize = {
    {kSessionKey, L"Buffer Size KB"},
    {ValueKind::range, 256, 4, 65536},
    {words::kAtBegin, words::kSession, "How much is read at once."}};
inline constexpr RegistryValue kSessionReportLargeFiles = {
    {kSessionKey, L"Report Large Files MB"},
    {ValueKind::range, 100, 1, 1048576},
    {words::kAtBegin, words::kSession,
     "Files from that size on have an entry of their own in the job log."}};
inline constexpr RegistryValue kSessionLargestFiles = {
    {kSessionKey, L"Largest Files Listed"},
    {ValueKind::range, 10, 0, 100},
    {words::kAtBegin, words::kSession, "How many of the largest files the summary names."}};
inline constexpr RegistryValue kSessionReportLinks = {
    {kSessionKey, L"Report Links"},
    {ValueKind::range, 0, 0, 1},
    {words::kAtBegin, words::kSession, "1: a link that is not followed is a warning."}};
inline constexpr RegistryValue kSessionWorkers = {
    {kSessionKey, L"Workers"},
    {ValueKind::range, 0, 1, 64},
    {words::kAtBegin, words::kSession, "How many threads read and write.",
     "one for each processor, 8 at most"}};
inline constexpr RegistryValue kSessionAccount = {
    {kSessionKey, L"Account"},
    {ValueKind::text},
    {words::kAtBegin, words::kSession, "Whose the password below is.", "nothing; not stored"}};
inline constexpr RegistryValue kSessionAccountPassword = {
    {kSessionKey, L"Account Password"},
    {ValueKind::text},
    {words::kAtBegin, words::kSession,
     "A sealed password (`vtctl credential seal`). The session tells whose it is, warns when it "
     "does not open or is not sealed, and uses it where `--as` names the account.",
     "nothing; not stored"}};

inline constexpr const RegistryValue* kMonitoredValues[] = {
    // In the order of SettingsMonitor's registrations.
    &kCreateDebugLog,
    &kKntaDebugLevel,
    &kEngineDebugLevel,
    &kMaxDebugFileEnabled,
    &kMaxDebugFileSize,
    &kMaxDebugFileRetentionSize,
    &kMaxDebugFileCount,
    &kMaxDebugFileLimitMode,
    &kMaxDebugFileAppend,
    &kSdkLog,
    &kSdkMaxDebugFileEnabled,
    &kSdkMaxDebugFileSize,
    &kSdkMaxDebugFileCount,
    &kSdkLogPath,
    &kSdkMaxDebugFileRetentionSize,
    &kSdkLimitMode,
    &kSdkDebugLevel};

inline constexpr const RegistryValue* kOtherValues[] = {
    // All the others.
    &kMaxDebugFileMsg,
    &kMaxDebugFileExt,
    &kSGMonEnabled,
    &kSGMonComponents,
    &kDnsQueryTimeout,
    &kLanguage,
    &kOracleSid,
    &kOracleIsRac,
    &kOracleDbId,
    &kLogonUserType,
    &kAdvertisingDisabled,
    &kMediaServers,
    &kPurgePending,
    &kPurgeServers,
    &kAdvertisingInterval,
    &kAdvertiseNow,
    &kAutoDiscoveryEnabled,
    &kPublishedNames,
    &kMajorVersion,
    &kDatabaseServerName,
    &kDatabaseInstanceName,
    &kDatabaseName,
    &kServerDatabaseServerName,
    &kServerDatabaseInstanceName,
    &kServerDatabaseName,
    &kCatalogDatabaseServerName,
    &kCatalogDatabaseInstanceName,
    &kCatalogDatabaseName,
    &kSessionJobName,
    &kSessionReadFileData,
    &kSessionBufferSize,
    &kSessionReportLargeFiles,
    &kSessionLargestFiles,
    &kSessionReportLinks,
    &kSessionWorkers,
    &kSessionAccount,
    &kSessionAccountPassword};

}  // namespace vtclass::config

#endif
