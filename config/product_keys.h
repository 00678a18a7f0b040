#ifndef VTCLASS_CONFIG_PRODUCT_KEYS_H
#define VTCLASS_CONFIG_PRODUCT_KEYS_H

/* The roots as narrow literals, of which help texts and wide paths are made: L"" VTCLASS_... "\\x".
 * The products' databases stand beside the product root. */
#define VTCLASS_PRODUCT_FOLDER "Software\\Norvane\\Vantorel For Windows"
#define VTCLASS_PRODUCT_ROOT VTCLASS_PRODUCT_FOLDER "\\Vantorel"
#define VTCLASS_SIBLING_ROOT "Software\\Quorrel\\Strandel\\VTDS"

namespace vtclass::config {

/* One of the product's registry keys: paths below HKEY_LOCAL_MACHINE without a leading or trailing
 * backslash. Every path that the product opens as its own comes from here. */
struct ProductKey {
  const wchar_t* ofProduct;
  const wchar_t* ofSibling;
  const char* purpose; /* for docs/registry-values.md */

  /* The path under the product that CMS_SetProd has selected now. */
  const wchar_t* Path() const noexcept;
};

#define VTCLASS_UNDER_ROOTS(path) L"" VTCLASS_PRODUCT_ROOT path, L"" VTCLASS_SIBLING_ROOT path

inline constexpr ProductKey kProductRoot = {VTCLASS_UNDER_ROOTS(""), "The product as a whole."};

inline constexpr ProductKey kLoggingKey = {
    VTCLASS_UNDER_ROOTS("\\Engine\\Logging"),
    "Debug logs. The settings monitor watches this key. A debug log stores the defaults of missing "
    "values: that of `MaxDebugFile Append` always, those of its size, retention size, count, `Msg` "
    "and `Ext` while `MaxDebugFile Enabled` is not 0. A component may also keep its log's path "
    "here, as a text under a name of its own."};

inline constexpr ProductKey kDebugKey = {
    VTCLASS_UNDER_ROOTS("\\Debug"),
    "Debugging aids. The settings monitor watches this key too. Missing values of service-group "
    "monitoring are stored as 0."};

inline constexpr ProductKey kDefaultProductDebugKey = {
    kDebugKey.ofProduct, kDebugKey.ofProduct,
    "The default product's, whichever is selected: under the sibling product the settings monitor "
    "watches another key, and nobody hears of a change."};

inline constexpr ProductKey kTcpIpKey = {
    VTCLASS_UNDER_ROOTS("\\Network\\TcpIp"),
    "Name resolution. A missing value is stored with its default where the process may write."};

inline constexpr ProductKey kOracleAgentKey = {
    VTCLASS_UNDER_ROOTS("\\Engine\\Agents\\Oracle"),
    "The Oracle agent's databases: a subkey each, named after the database, with these values. The "
    "product only reads them."};

inline constexpr ProductKey kAgentsKey = {
    VTCLASS_UNDER_ROOTS("\\Engine\\Agents"),
    "How the agent advertises this machine to media servers, and in `LogonUserType` how it logs "
    "the account of a job on: the product only reads that value, and only where it could write "
    "the key. Nothing missing is stored."};

inline constexpr ProductKey kInstallKey = {
    VTCLASS_UNDER_ROOTS("\\13.0\\Install"),
    "The installed product; the number in the path is its version. Of the keys for 19.9 down to "
    "10.0 the first that exists counts. The product only reads it."};
inline constexpr wchar_t kInstalledVersion[] = L"13.0"; /* in that path */

/* Of agents of an older generation, one after another. */
inline constexpr const wchar_t* kOlderAgentKeys[] = {
    L"Software\\Quorrel\\Agent Sprintel for Windows NT/2000",
    L"Software\\Quorrel\\Vantorel\\Agent Sprintel for Windows NT/2000\\10.0"};

inline constexpr ProductKey kSessionKey = {
    VTCLASS_UNDER_ROOTS("\\Session"),
    "How `vtctl session` works. Missing values are stored with their defaults where the operator "
    "may write. One beyond its range stays as it is and counts as missing, which is a warning of "
    "the session."};

#undef VTCLASS_UNDER_ROOTS

inline constexpr ProductKey kProductDatabaseKey = {
    L"" VTCLASS_PRODUCT_FOLDER "\\Pordex", L"" VTCLASS_PRODUCT_FOLDER "\\Pordex",
    "Where the product's own database is. The product only reads it; a text of more than 1,023 "
    "bytes counts as missing."};

inline constexpr ProductKey kVTDatabaseKey = {
    L"" VTCLASS_PRODUCT_FOLDER "\\VTDatabase", L"" VTCLASS_PRODUCT_FOLDER "\\VTDatabase",
    "Where the databases of the server and of the catalogue are; read like the product's own."};

}  // namespace vtclass::config

#endif
