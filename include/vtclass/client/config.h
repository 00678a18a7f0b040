#ifndef VTCLASS_CLIENT_CONFIG_H
#define VTCLASS_CLIENT_CONFIG_H

/* What vtclass/config.h compiles into its callers: texts and lists are filled on the side that owns
 * them. Included by that header. */

inline bool Configuration::Load(const wchar_t* name, wcstring& out) { return LoadText(name, out); }

inline bool Configuration::Load(const wchar_t* name, wcstring& out, const wchar_t* def) {
  return LoadText(name, out, def);
}

inline bool Configuration::Load(const wchar_t* name, std::vector<wcstring>& out) {
  return LoadList(name, out);
}

inline bool Configuration::Enum(const wchar_t* subkey, std::vector<wcstring>& names) {
  return AppendSubkeys(subkey, names);
}

inline bool CRegistryValuesIterator::getData(std::vector<wcstring>& out) { return AppendData(out); }

#endif
