#include <cwchar>
#include <new>
#include <utility>

#include "log/messages/string_resource_state.h"
#include "platform/border.h"
#include "platform/bound_function.h"

using vtclass::platform::HandOver;
using vtclass::platform::KeepFailure;
using vtclass::platform::OwnedModule;
using vtclass::platform::ScopedLock;

namespace {

// Bound at its first use: importing user32 would make every host load the window system.
constinit vtclass::platform::BoundFunction<decltype(::LoadStringW)> loadString(L"user32.dll",
                                                                               "LoadStringW", 0);

}  // namespace

StringResourceMgr::State::State(HINSTANCE module) noexcept
    : module(module ? module : ::GetModuleHandleW(nullptr)), loadError(ERROR_SUCCESS) {}

StringResourceMgr::State::State(OwnedModule owned, DWORD error) noexcept
    : library(std::move(owned)), module(library.Get()), loadError(error) {}

void StringResourceMgr::State::AddReference() noexcept { ::InterlockedIncrement(&references); }

void StringResourceMgr::State::Release() noexcept {
  if (::InterlockedDecrement(&references) == 0) delete this;
}

const std::wstring& StringResourceMgr::State::Text(unsigned id) {
  {
    const ScopedLock lock(section);
    const auto found = texts.find(id);
    if (found != texts.end()) return found->second;
  }
  // Read outside the lock: a slow library holds nobody up but those who ask for this text.
  std::wstring text = Read(id);
  const ScopedLock lock(section);
  // Another thread may have been faster; its text stays.
  return texts.try_emplace(id, std::move(text)).first->second;
}

std::wstring StringResourceMgr::State::Read(unsigned id) const {
  if (!module) return {};
  // Without room the call answers where the text lies in the module, however long it is.
  const wchar_t* text = nullptr;
  const int length = loadString(module, id, reinterpret_cast<wchar_t*>(&text), 0);
  if (length <= 0 || !text) return {};
  return std::wstring(text, wcsnlen(text, static_cast<std::size_t>(length)));
}

namespace {

// Data-file modules have no code to resolve; the extra flag is understood by NT systems alone.
DWORD LoadFlags() {
  constexpr DWORD kNotNt = 0x80000000;
  const DWORD flags = LOAD_LIBRARY_AS_DATAFILE;
  return (::GetVersion() & kNotNt) ? flags : flags | DONT_RESOLVE_DLL_REFERENCES;
}

}  // namespace

StringResourceMgr::State* StringResourceMgr::NewState(HINSTANCE module) noexcept {
  return new (std::nothrow) State(module);
}

StringResourceMgr::State* StringResourceMgr::NewState(const wchar_t* library) noexcept {
  OwnedModule loaded(::LoadLibraryExW(library ? library : L"", nullptr, LoadFlags()));
  const DWORD error = loaded ? ERROR_SUCCESS : ::GetLastError();
  return new (std::nothrow) State(std::move(loaded), error);
}

StringResourceMgr::StringResourceMgr(const StringResourceMgr& other) : state(other.state) {
  state->AddReference();
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the new reference comes before the drop.
StringResourceMgr& StringResourceMgr::operator=(const StringResourceMgr& other) {
  if (this == &other) return *this;
  other.state->AddReference();
  std::exchange(state, other.state)->Release();
  return *this;
}

StringResourceMgr::~StringResourceMgr() { state->Release(); }

void StringResourceMgr::CopyText(unsigned id, const vtclass::border::WideSink& out,
                                 vtclass::border::Failure& failure) const noexcept {
  KeepFailure(failure, [&] { HandOver(out, Text(id)); });
}

unsigned long StringResourceMgr::GetErrorCode() const { return state->LoadError(); }

const std::wstring& StringResourceMgr::Text(unsigned id) const { return state->Text(id); }
