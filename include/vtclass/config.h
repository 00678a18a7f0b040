#ifndef VTCLASS_CONFIG_H
#define VTCLASS_CONFIG_H

#include <vtclass/win32.h>

#include <vector>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/product.h"
#include "vtclass/strings.h"

/*
 * One registry key, on this computer or on a remote one: typed values are read and written, with
 * defaults that are written back where a value is missing.
 *
 * Failure: an operation returns false and keeps a Win32 status, which GetErrorCode reports until
 * the next failure; a success does not reset it, so ask right after the failing call. Statuses of
 * the class itself are -1 (the value has another type), 2, 87, 1 and 8 (out of memory); all others
 * are the system's. Nothing is thrown. Value operations on a closed object fail with 6.
 *
 * Outputs: where an operation fails, its outputs are as before unless the operation says otherwise.
 * Names: `name` is a value's name; null and empty both mean the key's default value. Sizes of data
 * are bytes, texts are UTF-16 and end at their terminating zero.
 *
 * Ownership: the object owns its handles, and closes them in Close and in the destructor; it is
 * not copied. Threads: no locking; one object belongs to one thread at a time. Several objects on
 * one key are independent.
 */
class Configuration {
 public:
  /* Any other number counts as openExisting. */
  enum openMode {
    openExisting = 0,      /* a missing key is an error */
    openOrCreate = 1,      /* a missing key is made, parents included */
    openOrCreateSecure = 2 /* a key that is made gives access to Administrators, Backup Operators
                              and the local system account only; an existing key stays as it is */
  };

  /* The bits of the access word of Open. With neither read nor write no right is asked for, which
   * some systems refuse. */
  static constexpr unsigned int accessRead = 1;
  static constexpr unsigned int accessWrite = 2;
  static constexpr unsigned int access64BitView = 4; /* ignored before system version 5.1, and when
                                                        the version is not known */
  static constexpr unsigned int access32BitView = 8;

  /* A closed object under a predefined root, or under an open key that the caller keeps open as
   * long as the object lives. The root is never closed by the object. */
  VTCLASS_API explicit Configuration(HKEY root = HKEY_LOCAL_MACHINE);
  VTCLASS_API ~Configuration();
  Configuration(const Configuration&) = delete;
  Configuration& operator=(const Configuration&) = delete;

  /*
   * Closes what is open and opens `subkey` below the root. `computer` is a name with or
   * without leading backslashes; null or empty is this computer. `accessWord`: the bits above.
   * Requires: `subkey` is not null where a key may be created; null or empty otherwise opens the
   * root itself. Status -1: the security attributes of openOrCreateSecure cannot be built.
   * Contract: after a failed open on a remote computer the connection stays until Close, the next
   * Open or the destructor. Callers that wait before they try again call Close first.
   */
  VTCLASS_API bool Open(openMode mode, const wchar_t* subkey, const wchar_t* computer,
                        unsigned int accessWord);

  /* The same with openOrCreate. */
  VTCLASS_API bool Open(const wchar_t* subkey, const wchar_t* computer, unsigned int accessWord);

  /*
   * Closes the open key and opens or creates `subkey` with the system's own rights
   * (`samDesired`, KEY_READ ...; registry views among them) and options (REG_OPTION_...).
   * `disposition`, where not null, receives REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY, and 0
   * after a failure.
   * Without `allowCreate` nothing is ever created: a missing key gives status 2 and, the one
   * failure that has a disposition, REG_CREATED_NEW_KEY. Testing for a key needs the wanted rights
   * to the key only. Options that say how a key is made are ignored then. Contract: always opens on
   * this computer, also while a remote connection is open. Callers keep the connection for other
   * keys; going through it would look on the wrong computer.
   */
  VTCLASS_API bool OpenEx(const wchar_t* subkey, unsigned long samDesired, unsigned long options,
                          bool allowCreate, unsigned long* disposition);

  /* Closes the key and the remote connection. Ends what RegisterForChanges has ordered. May be
   * called on a closed object. */
  VTCLASS_API void Close();

  /*
   * Reading. The key needs read access.
   */

  /* A REG_DWORD of four bytes; anything else stored gives -1. */
  VTCLASS_API bool LoadDWORD(const wchar_t* name, unsigned long& out);

  /*
   * The same; when that fails, `out` becomes `def`. Where the value is missing (2) or is none of
   * the type (-1), `def` is written and the result is that of the writing: on a read-only key
   * false. After every other failure (no right to read, a connection that broke) the stored value
   * may well be right: nothing is written, and the result is false with the status of the reading.
   */
  VTCLASS_API bool Load(const wchar_t* name, unsigned long& out, unsigned long def);

  /*
   * A REG_SZ, REG_EXPAND_SZ (not expanded) or REG_MULTI_SZ of any length, another type gives -1.
   * An odd last byte of the data is ignored; no characters give an empty text.
   * Contract: the last stored character is dropped unseen, zeros before it are kept. A list of
   * texts so arrives with the zeros between and behind its items, which callers split themselves,
   * and a text that somebody stored without its terminator loses its last character.
   */
  bool Load(const wchar_t* name, wcstring& out);

  /* The same; when that fails, `out` becomes `def` (null: empty), which is written as REG_SZ or not
   * by the rule for numbers above. `name` and `def` may lie in `out`. */
  bool Load(const wchar_t* name, wcstring& out, const wchar_t* def);

  /*
   * The same types as a list: the texts between the zeros. Empty items are dropped, and the last
   * item needs no terminator; a REG_SZ gives one item. `out` is cleared first and is empty after a
   * failure.
   */
  bool Load(const wchar_t* name, std::vector<wcstring>& out);

  /*
   * A REG_BINARY, another type gives -1. `*size` is the room in `data` before and the length of
   * the value after the call, also when the room is too small (234). With `data` null only the
   * length is asked for; with `size` null, `data` must be null too (87).
   * After a failure `data` and `*size` may have been overwritten.
   */
  VTCLASS_API bool Load(const wchar_t* name, unsigned char* data, unsigned long* size);

  /*
   * A value of any type into `size` bytes of room; 234 when they are too few. With `data` null only
   * the value's presence is tested.
   * Contract: `size` and `type` go in only. Neither the length nor the stored type comes back, and
   * the type is not checked: callers read records of a fixed size.
   */
  VTCLASS_API bool LoadRaw(const wchar_t* name, unsigned char* data, unsigned long size,
                           unsigned long type);

  /* The length and the type of a value of any type; either may be null. */
  VTCLASS_API bool GetDataSize(const wchar_t* name, unsigned long* size, unsigned long* type);

  /*
   * Writing. The key needs write access. A value of the name is replaced whatever its type. Data
   * of more bytes than 32 bits count gives 87; null `data` with a `size` other than 0 as well.
   */

  /* Four bytes, REG_DWORD. */
  VTCLASS_API bool SaveDWORD(const wchar_t* name, unsigned long value);

  /* All characters of `value`, zeros included, and one terminating zero: REG_SZ, or `type` (for
   * REG_EXPAND_SZ). */
  VTCLASS_API bool Save(const wchar_t* name, const wcstring& value);
  VTCLASS_API bool Save(const wchar_t* name, const wcstring& value, unsigned long type);

  /* `size` bytes, REG_BINARY. */
  VTCLASS_API bool Save(const wchar_t* name, const unsigned char* data, unsigned long size);

  /* REG_MULTI_SZ: each item with its terminating zero, and one zero behind all of them. An empty
   * list stores two bytes. Empty items are stored but not read back. `values` is only read. */
  VTCLASS_API bool Save(const wchar_t* name, std::vector<wcstring>& values);

  /* `size` bytes as any type. Text types: the system adds a missing terminator when it finds a
   * zero in the two bytes behind the data, so these must be readable. */
  VTCLASS_API bool SaveRaw(const wchar_t* name, const unsigned char* data, unsigned long size,
                           unsigned long type);

  /*
   * The key itself.
   */

  /* Deletes a value; 2 when there is none. Needs write access. */
  VTCLASS_API bool DeleteValue(const wchar_t* name);

  /* Deletes a key below the open one with its values; it must have no subkeys (5). An empty `name`
   * deletes the open key itself, null gives 87. */
  VTCLASS_API bool DeleteSubkey(const wchar_t* name);

  /*
   * Writes the key and all below it to a hive file, which must not exist. Null or empty: 87.
   * Requires: the backup privilege is enabled in the caller's token (1314).
   */
  VTCLASS_API bool SaveKey(const wchar_t* file);

  /*
   * Replaces the key's values and all below it by the contents of a hive file. Null or empty: 87.
   * Requires: the restore privilege is enabled in the caller's token (1314).
   */
  VTCLASS_API bool RestoreKey(const wchar_t* file);

  /*
   * Appends the names of the subkeys of `subkey` to `names`; the order is the system's. False when
   * the key cannot be opened, without a status; or, with status 8 and `names` as it was, when the
   * memory does not suffice.
   * Contract: looks below the HKEY_LOCAL_MACHINE of this computer, whatever root, computer or key
   * the object has, and needs no open object.
   */
  bool Enum(const wchar_t* subkey, std::vector<wcstring>& names);

  /*
   * Asks for one signal when a name or a value of the key or below it changes. Asynchronous:
   * returns at once, and `event`, an event handle that the caller keeps open, is set at the change.
   * Otherwise `event` is not used and the call returns after the change.
   * One call gives one signal: register again before reading, or a change in between is missed.
   * The signal also comes when the key is closed, and when the registering thread ends.
   * The key needs read access (KEY_NOTIFY).
   */
  VTCLASS_API bool RegisterForChanges(bool asynchronous, void* event);

  /* Not supported: always false with status 1. A registration ends when the key is closed. */
  VTCLASS_API bool UnregisterForChanges(void* event);

  /* The status of the last failure, 0 before the first. */
  long GetErrorCode() const { return lastError; }

 private:
  /* Behind the operations above that fill the caller's texts and lists. */
  VTCLASS_API bool LoadText(const wchar_t* name, const vtclass::border::WideSink& out) noexcept;
  VTCLASS_API bool LoadText(const wchar_t* name, const vtclass::border::WideSink& out,
                            const wchar_t* def) noexcept;
  VTCLASS_API bool LoadList(const wchar_t* name, vtclass::border::ListSink out) noexcept;
  VTCLASS_API bool AppendSubkeys(const wchar_t* subkey,
                                 const vtclass::border::ListSink& names) noexcept;

  /* For lists that are worked on as they are stored; inside the library. */
  friend class AgentAdvConfig;
  bool LoadStored(const wchar_t* name, std::wstring& out) noexcept;

  bool OpenKey(openMode mode, const wchar_t* subkey);
  bool SaveUnits(const wchar_t* name, const wchar_t* text, std::size_t units, unsigned long type);
  bool Succeeded(long status); /* keeps a failing status */

  unsigned int access = 0;
  long lastError = ERROR_SUCCESS;
  wcstring machine;
  HKEY root;
  HKEY remoteRoot = nullptr;
  HKEY key = nullptr;
  void* notifyEvent = nullptr;
};

/*
 * Walks the subkeys of one key on this computer:
 *
 *   CRegistryKeysIterator keys(L"Software\\...", HKEY_LOCAL_MACHINE, 0);
 *   for (const wchar_t* name = keys.First(); name; name = keys.Next()) ...
 *
 * Failure: a key that is missing or cannot be opened gives an invalid iterator, which walks
 * nothing. Iterating a missing key creates nothing, not even for a moment. The iterator's
 * order is the system's; keys that come or go during the walk may be met twice or not at all.
 *
 * Owns the key and the name buffer. Threads: one object belongs to one thread at a time.
 */
class CRegistryKeysIterator {
 public:
  /* Opens `subkey` of `parent` for reading; `options` as for Configuration::OpenEx. */
  VTCLASS_API CRegistryKeysIterator(const wchar_t* subkey, HKEY parent, unsigned long options);
  VTCLASS_API ~CRegistryKeysIterator();
  CRegistryKeysIterator(const CRegistryKeysIterator&) = delete;
  CRegistryKeysIterator& operator=(const CRegistryKeysIterator&) = delete;

  /* The key is open, and the walk can begin. */
  VTCLASS_API bool isValid() const;

  /* The number of subkeys at the construction. */
  VTCLASS_API unsigned long GetCount() const;

  /*
   * The open key; it stays the iterator's.
   * Contract: of an invalid iterator HKEY_LOCAL_MACHINE, which callers use as the parent of the
   * keys that they look for next. Check isValid before anything is written below it.
   */
  VTCLASS_API HKEY GetKey() const;

  /*
   * The name of the current subkey, null at the end, on failure and when invalid. The text is valid
   * until the next call.
   * Contract: does not go back to the first. After Next it answers the name that Next answered.
   */
  VTCLASS_API const wchar_t* First();

  /* Steps on and returns the name, like First. */
  VTCLASS_API const wchar_t* Next();

 private:
  HKEY key;
  unsigned long count = 0;
  unsigned long index = 0;
  unsigned long nameChars = 0;
  wchar_t* name = nullptr;
};

/*
 * Walks the values of one key. As CRegistryKeysIterator, with the data of the current value.
 * A value that has outgrown all values of the construction ends the walk.
 */
class CRegistryValuesIterator {
 public:
  VTCLASS_API CRegistryValuesIterator(const wchar_t* subkey, HKEY parent, unsigned long options);
  VTCLASS_API ~CRegistryValuesIterator();
  CRegistryValuesIterator(const CRegistryValuesIterator&) = delete;
  CRegistryValuesIterator& operator=(const CRegistryValuesIterator&) = delete;

  VTCLASS_API bool isValid() const;

  /* The number of values at the construction. */
  VTCLASS_API unsigned long GetCount() const;

  /* As of CRegistryKeysIterator; reads the value's data too. The default value's name is empty. */
  VTCLASS_API const wchar_t* First();
  VTCLASS_API const wchar_t* Next();

  /* Type (REG_...), data and length in bytes of the current value: the one that First or Next last
   * answered, or that GetValueOf last asked for (type and length only). 0 before. The data is the
   * iterator's and changes with the next step; null when the iterator is invalid. */
  VTCLASS_API unsigned long getType() const;
  VTCLASS_API unsigned char* getData();
  VTCLASS_API unsigned long getDataSize() const;

  /* Appends the current value's data, read as a list of texts whatever its type, to `out` (see
   * Configuration::Load). Always true; only when memory runs out false, `out` is then as before. */
  bool getData(std::vector<wcstring>& out);

  /*
   * Reads a value of the key by its name into `buffer`; 1 on success, 0 on failure and when
   * `buffer` or `valueName` is null or `valueName` empty.
   * Requires: `buffer` has room for getDataSize() bytes.
   * Contract: the room is taken to be the length of the value last met (0 before any), and this
   * call overwrites that length and the type with the answer, also when the room is too small.
   * Callers that read several values of one size depend on it.
   */
  VTCLASS_API int GetValueOf(const wchar_t* valueName, wchar_t* buffer);

 private:
  VTCLASS_API bool AppendData(const vtclass::border::ListSink& out) const noexcept;

  HKEY key;
  unsigned long count = 0;
  unsigned long index = 0;
  unsigned long dataCapacity = 0;
  unsigned long nameChars = 0;
  wchar_t* name = nullptr;
  unsigned char* data = nullptr;
  unsigned long dataSize = 0;
  unsigned long type = REG_NONE;
};

#include "vtclass/client/config.h"

#endif
