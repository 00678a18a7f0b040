#ifndef VTCLASS_VOLUMES_H
#define VTCLASS_VOLUMES_H

#include <vtclass/win32.h>

#include <cstddef>
#include <iterator>
#include <utility>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/ref_pointer.h"
#include "vtclass/strings.h"

/*
 * The volumes of this machine, where they are mounted, and small questions about them.
 *
 *   std::list<wcstring> volumes(vtclass::vol_it(), vtclass::vol_it::end());
 *   volumes.remove_if(vtclass::non_fixed_drive());
 *   volumes.sort(vtclass::less_free_space());
 *
 * A volume is named as the system names it, "\\?\Volume{GUID}\", or by the root of a drive, "C:\".
 * Names and roots end in a backslash, mount points too; functions that take a name pass it on as it
 * is, and without the backslash the system refuses it. Texts are read up to their first zero
 * character; only mountmgr_is_volume_name looks at the whole.
 *
 * Old systems. The volume functions of kernel32.dll are looked up by name at their first use, and
 * used where the system reports version 5 or later (GetVersionExW, asked at each use; a query that
 * fails counts as an old system). Without them listings give drive letters.
 *
 * Failures: the iterators and get_raw_vol_name throw an `unsigned long`, the Win32 code, when such
 * a function is missing on a system that should have it. What returns a text or makes a listing
 * throws std::bad_alloc when memory runs out. Nothing else throws: questions answer 0, false or an
 * empty text, and the thread's last error is then what the system's own call has left.
 *
 * Threads: any function on any thread, except that an iterator and its copies step on one thread at
 * a time.
 */

namespace vtclass {

namespace border {

/* What an iterator and its copies share; the library makes it, and it ends with the last of them.
 */
class Listing : public RefCounted, public LibraryMemory {
 public:
  const wcstring& Value() const noexcept { return value; }
  bool IsAtEnd() const noexcept { return atEnd; }
  virtual void Advance() noexcept = 0;

 protected:
  wcstring value;
  bool atEnd = false;
};

/*
 * What vol_it and mp_it have in common: an input iterator over texts.
 *
 * Copies share one listing: a step of one moves them all, and what the listing holds (the system's
 * search handle, for volumes also the error mode) is given back when the last copy goes, on
 * whatever thread that is. One that was moved from is at end.
 *
 * The system may fail to step for another reason than the end of its list (code 18): the iterator
 * then stays where it is, and the next step tries again. A caller that must get on watches for
 * values that repeat. A listing never restarts: at end it stays at end, and its value is empty.
 *
 * Contract: comparison ignores the position. Two iterators are equal only when both are at end; one
 * that is not at end is unequal even to itself. Loops run while an iterator is unequal to the end,
 * and would stop early if two positions could be equal.
 * So std::input_iterator holds, and std::sentinel_for with respect to an end iterator only: the
 * type compares, but equality is not reflexive before the end. Algorithms that compare with `last`
 * alone work (std::find_if, std::copy, the constructors of containers).
 */
template <typename Iterator>
class ListingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = wcstring;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = wcstring;

  /* What a postfix step returns: the value from before it. */
  class proxy {
   public:
    wcstring operator*() const& { return value; }
    wcstring operator*() && noexcept { return std::move(value); }

   private:
    friend ListingIterator;
    explicit proxy(wcstring before) noexcept : value(std::move(before)) {}

    wcstring value;
  };

  /* A copy of the current name; empty at end. */
  wcstring operator*() const { return listing ? listing->Value() : wcstring(); }

  Iterator& operator++() noexcept {
    if (listing) listing->Advance();
    return static_cast<Iterator&>(*this);
  }

  proxy operator++(int) {
    proxy before(**this);
    ++*this;
    return before;
  }

  friend bool operator==(const Iterator& a, const Iterator& b) noexcept {
    return a.IsAtEnd() && b.IsAtEnd();
  }

 private:
  friend Iterator;

  ListingIterator() noexcept = default;

  bool IsAtEnd() const noexcept { return !listing || listing->IsAtEnd(); }

  RefPointer<Listing> listing;
};

}  // namespace border

/*
 * Lists the volumes of the machine by their names. Where the system cannot (an old one, or when its
 * search does not begin), the roots of its fixed, CD-ROM and removable drives, from "A:\" to "Z:\".
 *
 * From its beginning until its last copy goes a listing keeps the process from asking people for a
 * disk: it sets the error mode to 0x8001 (no box for critical errors, none for files that cannot be
 * opened) and then puts back the one that it found. That mode belongs to the whole process. Where
 * two listings overlap and the first to begin is the first to go, the second leaves 0x8001.
 *
 * A constructor that throws has put the error mode back and left no search open.
 */
class vol_it : public border::ListingIterator<vol_it> {
 public:
  /* Begins a listing, at its first volume. The code that it throws is that of the first function
   * missing, in this order: FindFirstVolumeW, FindNextVolumeW, FindVolumeClose,
   * FindFirstVolumeMountPointW, FindNextVolumeMountPointW, FindVolumeMountPointClose,
   * GetVolumePathNameW, GetVolumeNameForVolumeMountPointW. */
  inline vol_it();

  /* The end of every listing: asks the system for nothing and touches no error mode. */
  inline static vol_it end() noexcept;

 private:
  explicit vol_it(std::nullptr_t) noexcept {}
};

/*
 * Lists the mount points of one volume: paths below its root, such as "data\". The volume is given
 * by its name; what the system finds none on, an old system too, gives an iterator at end. Touches
 * no error mode.
 */
class mp_it : public border::ListingIterator<mp_it> {
 public:
  /* The end of every listing; asks the system for nothing. */
  mp_it() noexcept = default;

  /* Begins at the first mount point. Throws as vol_it does; the functions are
   * FindFirstVolumeMountPointW, FindNextVolumeMountPointW and FindVolumeMountPointClose. */
  inline mp_it(const wcstring& volume);

  /* Begins again on another volume. Copies keep the listing they have. When it throws, the iterator
   * is as before. */
  mp_it& operator=(const wcstring& volume) { return *this = mp_it(volume); }
};

/*
 * The name of the volume that is mounted at a mount point or drive root, which ends in a backslash;
 * `mountPoint` itself where the system knows none.
 * The narrow form reads the bytes in the ANSI code page, whatever page they carry, and its answer
 * carries the page of `mountPoint`; volume names are ASCII.
 */
inline wcstring get_volume_name_for_mount_point(const wcstring& mountPoint);
inline cstring get_volume_name_for_mount_point(const cstring& mountPoint);

/*
 * The root of the volume that holds `path`, whether or not that exists: a drive root, a mount point
 * with its backslash, a network share, or for a path on a shared volume of this machine's cluster
 * what the cluster names as its mount point. Empty for an empty path, and when the system or the
 * cluster refuses, a root of more than 1023 characters (259 for the cluster) among the reasons.
 * Where the library vtcluster is missing there is no cluster.
 */
inline wcstring get_volume_path_name(const wcstring& path);

/*
 * True if the text has the shape of a volume name: 48 characters such as
 * \\?\Volume{26a21bda-a627-11d7-9931-806e6f6e6963}, "\??\" at the beginning too, or 49 with a
 * backslash behind. Nothing is asked, so no such volume need exist.
 * Contract: the digits may be anything; only what stands around them is looked at. Names pass that
 * other systems have made.
 */
VTCLASS_API bool mountmgr_is_volume_name(const wcstring& text) noexcept;
VTCLASS_API bool mountmgr_is_volume_name(const cstring& text) noexcept;

/*
 * The reparse tag of a file or directory; the thing itself is looked at, not what it leads to.
 * 0xFFFFFFFF when it has none or its attributes cannot be read (the path is null, empty, missing),
 * 0 when it cannot be opened or its reparse data cannot be read.
 * `*isVolumeMount`, where not null, is cleared first; it becomes true for a mount-point tag
 * (0xA0000003) whose target has no ":", which is a volume, and stays false for one that leads to
 * a drive's path, and for data that is damaged.
 */
VTCLASS_API unsigned long get_reparse_tag(const wchar_t* path, bool* isVolumeMount) noexcept;

/*
 * True if a file can be created and written at `root`, the root of a volume or any folder, with or
 * without a backslash at its end; "" means the root of the current drive. False for null.
 * The file is "_VT101_.TMP". One that is there already is overwritten; afterwards it is deleted,
 * whatever came of the writing. It is not shared: of two who ask at the same moment one may get
 * false. Where the answer is false the thread's last error says why: the system's code, or 112
 * (disk full) when fewer bytes were written than asked.
 */
VTCLASS_API bool IsVolumeWriteable(const wchar_t* root) noexcept;

/*
 * Numbers of a volume: get<Tag> keeps a reference to a root path, and asks when it is converted.
 *
 *   const unsigned long long free = ULARGE_INTEGER(get<free_space>(root)).QuadPart;
 *   const unsigned long cluster = get<cluster_size>(root);
 *
 * `root` must outlive it; temporaries are refused by the compiler. 0 when the system refuses.
 */
struct free_space { /* bytes that are free */
  using answer = ULARGE_INTEGER;
  VTCLASS_API static answer of(const wcstring& root) noexcept;
};
struct free_space_to_usr { /* bytes that are free to the caller, by his quota */
  using answer = ULARGE_INTEGER;
  VTCLASS_API static answer of(const wcstring& root) noexcept;
};
struct total_space { /* bytes; where quotas are in use, of the caller's quota */
  using answer = ULARGE_INTEGER;
  VTCLASS_API static answer of(const wcstring& root) noexcept;
};
struct occupied_space { /* total_space less free_space; 0 where a quota makes that negative */
  using answer = ULARGE_INTEGER;
  VTCLASS_API static answer of(const wcstring& root) noexcept;
};
struct cluster_size { /* bytes; 0 for what does not fit in 32 bits, too */
  using answer = unsigned long;
  VTCLASS_API static answer of(const wcstring& root) noexcept;
};
struct sector_size { /* bytes */
  using answer = unsigned long;
  VTCLASS_API static answer of(const wcstring& root) noexcept;
};

template <typename Tag>
class get {
 public:
  explicit get(const wcstring& root) noexcept : root(root) {}
  get(const wcstring&&) = delete;

  operator typename Tag::answer() const noexcept { return Tag::of(root); }

 private:
  const wcstring& root;
};

/*
 * Compares two volumes by get<free_space>; one that cannot be asked has 0.
 *
 * Asks the system at each comparison, and the space may change in the middle of a sort. Sort a
 * std::list by it, whose sort stays inside the list whatever it is told; std::sort may not.
 */
struct less_free_space {
  VTCLASS_API bool operator()(const wcstring& a, const wcstring& b) const noexcept;
};

/* Contract: the opposite of less_free_space, so that equal space counts as more, and a volume has
 * more than itself. Callers ask by it whether a volume has enough, compared with another. It is no
 * order that may be sorted by: sort by less_free_space, and reverse. */
struct more_free_space {
  VTCLASS_API bool operator()(const wcstring& a, const wcstring& b) const noexcept;
};

/*
 * Questions about one volume, for algorithms.
 *
 * Where is a volume reached? Its access path is the root of the first fixed drive whose volume it
 * is ("D:\"), else the access path of the first volume that hosts it and has one, followed by the
 * mount point ("C:\mnt\data\"). Names are compared character by character. The search lists the
 * volumes and their mount points once at most, however deep the mounts lie and also when volumes
 * host each other in a circle. A list that the system refuses to begin is empty, and one that has
 * failed to get on 16 times in a row ends there. While it lists it sets the error mode, as vol_it
 * does.
 */

/* The system does not call it a fixed drive. */
struct non_fixed_drive {
  VTCLASS_API bool operator()(const wcstring& volume) const noexcept;
};

/* It has no access path. False on systems before version 5, and when the search itself fails
 * (function missing, memory): a volume is not called unmounted for that. */
struct unmounted_drive {
  VTCLASS_API bool operator()(const wcstring& volume) const noexcept;
};

/* The system finds no file system that it knows (code 1005). Every other failure is none of that
 * kind. */
struct unrecognized_fs {
  VTCLASS_API bool operator()(const wcstring& volume) const noexcept;
};

/* Always. */
struct remove_all {
  bool operator()(const wcstring& /*volume*/) const noexcept { return true; }
};

/* Replaces the name of a volume by its access path; leaves it where there is none, on systems
 * before version 5, and when the search fails. */
struct translate_vol_name {
  inline void operator()(wcstring& volume) const noexcept;
};

/*
 * Replaces a path by the name of the volume that holds it; true when it did.
 * False and the root of that volume, with a backslash at its end, where the system knows no name
 * for it; false and the text as it was when get_volume_path_name knows no root. Throws where
 * GetVolumeNameForVolumeMountPointW is missing; the text is then as it was.
 * Contract: on systems before version 5 the result is true whatever the text is. "C:" gets a
 * backslash, a longer text that begins with a drive's root is cut behind it, all others stay.
 */
struct get_raw_vol_name {
  inline bool operator()(wcstring& volume) const;
};

/*
 * Functions of kernel32.dll that not every system has, each called with the caller's arguments.
 * Where one is missing the wrapper leaves the caller's buffers alone, sets the thread's last error
 * to 127 and answers 0, INVALID_HANDLE_VALUE from the two that begin a search.
 */
class Kernel32Glue {
 public:
  Kernel32Glue(const Kernel32Glue&) = delete;
  Kernel32Glue& operator=(const Kernel32Glue&) = delete;

  /* The process's one object, made by the first call, which looks the functions up; they stay bound
   * for the life of the process. Null with the last error 14 when memory runs out; the next call
   * tries again. Threads: any; several first callers get the same object. */
  VTCLASS_API static Kernel32Glue* GetInstance() noexcept;

  /* Frees it; the next GetInstance makes another. A host that unloads the library calls it before,
   * or loses a few bytes. Requires: no other thread uses it. */
  VTCLASS_API static void DestroyInstance() noexcept;

  /* FindFirstVolumeW, FindNextVolumeW, FindVolumeClose and GetVolumePathNamesForVolumeNameW are
   * there. */
  VTCLASS_API bool OK() const noexcept;

  VTCLASS_API HANDLE FindFirstVolumeW(wchar_t* name, DWORD characters) noexcept;
  VTCLASS_API BOOL FindNextVolumeW(HANDLE search, wchar_t* name, DWORD characters) noexcept;
  VTCLASS_API BOOL FindVolumeClose(HANDLE search) noexcept;

  VTCLASS_API HANDLE FindFirstVolumeMountPointW(const wchar_t* volume, wchar_t* mountPoint,
                                                DWORD characters) noexcept;
  VTCLASS_API BOOL FindNextVolumeMountPointW(HANDLE search, wchar_t* mountPoint,
                                             DWORD characters) noexcept;
  VTCLASS_API BOOL FindVolumeMountPointClose(HANDLE search) noexcept;

  VTCLASS_API BOOL GetVolumePathNameW(const wchar_t* path, wchar_t* root,
                                      DWORD characters) noexcept;
  VTCLASS_API BOOL GetVolumePathNamesForVolumeNameW(const wchar_t* volume, wchar_t* roots,
                                                    DWORD characters, DWORD* needed) noexcept;
  VTCLASS_API BOOL GetVolumeNameForVolumeMountPointW(const wchar_t* mountPoint, wchar_t* volume,
                                                     DWORD characters) noexcept;

  /* Contract: the system's function is SetFileShortNameW; the name here is what callers know. */
  VTCLASS_API BOOL SetShortFileName(HANDLE file, const wchar_t* shortName) noexcept;

  VTCLASS_API DWORD GetThreadId(HANDLE thread) noexcept;

 private:
  Kernel32Glue() noexcept;
  ~Kernel32Glue() = default;

  bool ok;
};

}  // namespace vtclass

#include "vtclass/client/volumes.h"

#endif
