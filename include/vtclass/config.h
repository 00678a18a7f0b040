#ifndef VTCLASS_CONFIG_H
#define VTCLASS_CONFIG_H

#include <vtclass/win32.h>

#include <vector>

#include "vtclass/export.h"
#include "vtclass/product.h"
#include "vtclass/strings.h"

/* One registry key, local or on a remote computer. */
class VTCLASS_API Configuration {
 public:
  enum openMode { openExisting = 0, openOrCreate = 1, openOrCreateSecure = 2 };

  /* The bits of the access word of Open. */
  static constexpr unsigned int accessRead = 1;
  static constexpr unsigned int accessWrite = 2;
  static constexpr unsigned int access64BitView = 4;
  static constexpr unsigned int access32BitView = 8;

  explicit Configuration(HKEY root = HKEY_LOCAL_MACHINE);
  ~Configuration();
  Configuration(const Configuration&) = delete;
  Configuration& operator=(const Configuration&) = delete;

  bool Open(openMode mode, const wchar_t* subkey, const wchar_t* machine, unsigned int access);
  bool Open(const wchar_t* subkey, const wchar_t* machine, unsigned int access);
  bool OpenEx(const wchar_t* subkey, unsigned long samDesired, unsigned long options,
              bool allowCreate, unsigned long* disposition);
  void Close();

  bool LoadDWORD(const wchar_t* name, unsigned long& out);
  bool Load(const wchar_t* name, unsigned long& out, unsigned long def);
  bool Load(const wchar_t* name, wcstring& out);
  bool Load(const wchar_t* name, wcstring& out, const wchar_t* def);
  bool Load(const wchar_t* name, std::vector<wcstring>& out);
  bool Load(const wchar_t* name, unsigned char* data, unsigned long* size);
  bool LoadRaw(const wchar_t* name, unsigned char* data, unsigned long size, unsigned long type);
  bool GetDataSize(const wchar_t* name, unsigned long* size, unsigned long* type);

  bool SaveDWORD(const wchar_t* name, unsigned long value);
  bool Save(const wchar_t* name, const wcstring& value);
  bool Save(const wchar_t* name, const wcstring& value, unsigned long type);
  bool Save(const wchar_t* name, const unsigned char* data, unsigned long size);
  bool Save(const wchar_t* name, std::vector<wcstring>& values);
  bool SaveRaw(const wchar_t* name, const unsigned char* data, unsigned long size,
               unsigned long type);

  bool DeleteValue(const wchar_t* name);
  bool DeleteSubkey(const wchar_t* name);
  bool SaveKey(const wchar_t* file);
  bool RestoreKey(const wchar_t* file);
  bool Enum(const wchar_t* subkey, std::vector<wcstring>& names);
  bool RegisterForChanges(bool asynchronous, void* event);
  bool UnregisterForChanges(void* event);

  long GetErrorCode() const { return lastError; }

 private:
  bool OpenKey(openMode mode, const wchar_t* subkey);
  bool Succeeded(long status);

  unsigned int access;
  long lastError;
  wcstring machine;
  HKEY root;
  HKEY remoteRoot;
  HKEY key;
  void* notifyEvent;
};

/* Walks the subkeys of one key. */
class VTCLASS_API CRegistryKeysIterator {
 public:
  CRegistryKeysIterator(const wchar_t* subkey, HKEY parent, unsigned long options);
  ~CRegistryKeysIterator();
  CRegistryKeysIterator(const CRegistryKeysIterator&) = delete;
  CRegistryKeysIterator& operator=(const CRegistryKeysIterator&) = delete;

  bool isValid();
  unsigned long GetCount();
  HKEY GetKey();
  const wchar_t* First();
  const wchar_t* Next();

 private:
  HKEY key;
  unsigned long count;
  unsigned long index;
  unsigned long nameChars;
  wchar_t* name;
};

/* Walks the values of one key. */
class VTCLASS_API CRegistryValuesIterator {
 public:
  CRegistryValuesIterator(const wchar_t* subkey, HKEY parent, unsigned long options);
  ~CRegistryValuesIterator();
  CRegistryValuesIterator(const CRegistryValuesIterator&) = delete;
  CRegistryValuesIterator& operator=(const CRegistryValuesIterator&) = delete;

  bool isValid();
  unsigned long GetCount();
  const wchar_t* First();
  const wchar_t* Next();
  unsigned long getType();
  unsigned char* getData();
  unsigned long getDataSize();
  bool getData(std::vector<wcstring>& out);
  int GetValueOf(const wchar_t* name, wchar_t* data);

 private:
  HKEY key;
  unsigned long count;
  unsigned long index;
  unsigned long dataCapacity;
  unsigned long nameChars;
  wchar_t* name;
  unsigned char* data;
  unsigned long dataSize;
  unsigned long type;
};

#endif
