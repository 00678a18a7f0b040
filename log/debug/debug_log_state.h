#ifndef VTCLASS_LOG_DEBUG_DEBUG_LOG_STATE_H
#define VTCLASS_LOG_DEBUG_DEBUG_LOG_STATE_H

#include <array>
#include <atomic>
#include <cstdarg>
#include <memory>

#include "log/debug/size_limit_policy.h"
#include "log/work_buffer.h"
#include "platform/critical_section.h"
#include "vtclass/debug_log.h"

/* What a debug log consists of. Members without a lock on them never change or are atomic. */
struct DebugLog::State {
  /* Holds the lock for one scope and takes in, on leaving, what the monitor has told meanwhile: its
   * callbacks run under the monitor's lock and do not wait for this one. Not to be nested. */
  class VTCLASS_THREAD_ANNOTATION(scoped_lockable) Hold {
   public:
    explicit Hold(State& state) VTCLASS_THREAD_ANNOTATION(acquire_capability(state.lock))
        : state(state) {
      state.lock.Lock();
    }
    ~Hold() VTCLASS_THREAD_ANNOTATION(release_capability()) { state.Leave(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    State& state;
  };

  State(StringResourceMgr& messages, int unicode, const wchar_t* pathValueName);

  /* Printing. Nothing is thrown. */
  int Print(const wchar_t* format, va_list arguments, bool endsLine);
  int PrintMessage(unsigned id, va_list arguments);

  int Open(int mode, const wchar_t* path) VTCLASS_REQUIRES(lock);
  int Close() VTCLASS_REQUIRES(lock);

  /* Settings, which may throw std::bad_alloc. */
  /* The status of the first value that could not be read, which is stored too; such values stay
   * what they were. `switchIsKnown`, unless null: whether CreateDebugLog is none of them. */
  unsigned long LoadSettings(bool storeDefaults, bool* switchIsKnown) VTCLASS_REQUIRES(lock);
  int Follow() VTCLASS_REQUIRES(lock);
  int SwitchOn() VTCLASS_REQUIRES(lock);
  int SwitchOff() VTCLASS_REQUIRES(lock);
  void SetPath(wcstring&& path) VTCLASS_REQUIRES(lock);

  /* In between the settings are followed as they change. Neither may hold the lock, for both wait
   * for the monitor's: lines would wait for what other subscribers do in their callbacks. */
  void Subscribe();
  void Unsubscribe();

  int Refuse(unsigned long code);

  StringResourceMgr messages;
  long status VTCLASS_GUARDED_BY(lock) = S_OK; /* of the size limit, an HRESULT */
  wcstring fileName VTCLASS_GUARDED_BY(lock);
  vtclass::platform::OwnedFile file VTCLASS_GUARDED_BY(lock);
  vtclass::log::WorkBuffer<wchar_t> formatBuffer VTCLASS_GUARDED_BY(lock);
  vtclass::log::WorkBuffer<wchar_t> lineBuffer VTCLASS_GUARDED_BY(lock);
  const int unicode;
  std::atomic<unsigned long> lastError{ERROR_SUCCESS};
  vtclass::log::WorkBuffer<char> ansiBuffer VTCLASS_GUARDED_BY(lock);
  std::unique_ptr<vtclass::log::SizeLimitPolicy> sizeLimit VTCLASS_GUARDED_BY(lock);
  vtclass::platform::CriticalSection lock;
  const wcstring pathValueName;
  unsigned long rollCounter VTCLASS_GUARDED_BY(lock) = 1;
  wcstring baseName VTCLASS_GUARDED_BY(lock);
  wcstring extension VTCLASS_GUARDED_BY(lock);
  std::atomic<unsigned long> logLevel{1};
  unsigned long createDebugLog VTCLASS_GUARDED_BY(lock) = 0;

  /*
   * What the members above leave unsaid: whether the log is to be open, which a print asks before
   * it formats anything; the file's size (asking costs more than a write), and whether a part of a
   * line that could not be cut off is behind it; whether the banner of a switching on is written;
   * whether the path that is opened is to be stored: not over one that could not be read; the path
   * that was stored, as it stood and as it was resolved; how much may still be written before a
   * failed roll is tried again; whether a failed simple roll was told; what was lost, and whether
   * that was told; the settings as stored and in force; the numbers that the monitor has told, a
   * bit for each that is not taken in yet.
   */
  std::atomic<bool> isOpen{false};
  vtclass::log::Position fileSize VTCLASS_GUARDED_BY(lock) = 0;
  bool torn VTCLASS_GUARDED_BY(lock) = false;
  bool announced VTCLASS_GUARDED_BY(lock) = true;
  bool remembersPath VTCLASS_GUARDED_BY(lock) = false;
  vtclass::WideText knownText VTCLASS_GUARDED_BY(lock);
  wcstring knownPath VTCLASS_GUARDED_BY(lock);
  vtclass::log::Position untilRetry VTCLASS_GUARDED_BY(lock) = 0;
  bool rollReported VTCLASS_GUARDED_BY(lock) = false;
  unsigned long long lostLines VTCLASS_GUARDED_BY(lock) = 0;
  bool lossReported VTCLASS_GUARDED_BY(lock) = false;
  vtclass::log::SizeSettings stored VTCLASS_GUARDED_BY(lock);
  vtclass::log::SizeLimits limits VTCLASS_GUARDED_BY(lock);
  DebugLogSettings settings VTCLASS_GUARDED_BY(lock);
  std::array<std::atomic<unsigned long>, 8> told{};
  std::atomic<unsigned> news{0};
  bool subscribed = false;

 private:
  struct Followed;
  static const Followed kFollowed[8];

  template <std::size_t number>
  static long OnChange(unsigned long value, void* context);
  void Leave() VTCLASS_THREAD_ANNOTATION(release_capability(lock))
      VTCLASS_THREAD_ANNOTATION(no_thread_safety_analysis);
  bool TakeIn() VTCLASS_REQUIRES(lock);
  void Adopt(unsigned fresh) VTCLASS_REQUIRES(lock);
  void ApplySettings() VTCLASS_REQUIRES(lock);

  int OpenAt(int mode, const wchar_t* path) VTCLASS_REQUIRES(lock);
  int CloseFile() VTCLASS_REQUIRES(lock);
  int Reopen(unsigned long* unread) VTCLASS_REQUIRES(lock);
  void RememberPath() VTCLASS_REQUIRES(lock);
  void AnnounceOn() VTCLASS_REQUIRES(lock);
  void WriteBanner(vtclass::WideView banner) VTCLASS_REQUIRES(lock);

  int PrintShort(vtclass::WideView text, bool endsLine);
  int PrintLong(const wchar_t* format, va_list arguments, bool endsLine);
  unsigned long FillLine(const wchar_t* format, va_list arguments, bool endsLine,
                         std::size_t* length) VTCLASS_REQUIRES(lock);
  unsigned long FillFormat(const wchar_t* format, va_list arguments, vtclass::WideView* text)
      VTCLASS_REQUIRES(lock);

  int Write(const void* bytes, std::size_t size) VTCLASS_REQUIRES(lock);
  unsigned long OpenAgain() VTCLASS_REQUIRES(lock);
  void ApplyLimit(std::size_t incoming) VTCLASS_REQUIRES(lock);
  long SimpleRoll() VTCLASS_REQUIRES(lock);
  int Lose(unsigned long code) VTCLASS_REQUIRES(lock);
};

#endif
