#ifndef VTCLASS_CONFIG_PRODUCT_KEYS_H
#define VTCLASS_CONFIG_PRODUCT_KEYS_H

namespace vtclass::config {

/*
 * The product's registry keys, as paths below HKEY_LOCAL_MACHINE without a leading or trailing
 * backslash. Every path that the library opens comes from here; each call follows the product that
 * CMS_SetProd has selected at that time. The texts live as long as the library.
 */

/* The product root. Its value "Language" selects the language of the messages. */
const wchar_t* ProductRoot() noexcept;

/* Settings of the debug logs; the settings monitor watches it. */
const wchar_t* LoggingKey() noexcept;

/* Switches of debugging aids; the settings monitor watches it too. */
const wchar_t* DebugKey() noexcept;

/* The same of the default product, whichever is selected. */
const wchar_t* DefaultProductDebugKey() noexcept;

/* Settings of name resolution. */
const wchar_t* TcpIpKey() noexcept;

/* Settings of the agents: the logon type of job accounts, the advertisement. */
const wchar_t* AgentsKey() noexcept;

/* The Oracle agent's databases, a key each. */
const wchar_t* OracleAgentKey() noexcept;

/* Where the product's own database is; where those of the server and the catalogue are. Both stand
 * beside the product root and are the same under both products. */
const wchar_t* ProductDatabaseKey() noexcept;
const wchar_t* VTDatabaseKey() noexcept;

}  // namespace vtclass::config

#endif
