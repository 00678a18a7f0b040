#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "config/registry_values.h"
#include "log/messages/message_language.h"
#include "log/messages/message_library.h"
#include "log/messages/string_resource_state.h"
#include "platform/no_throw.h"
#include "vtclass/config.h"

using vtclass::config::kLanguage;
using vtclass::platform::CriticalSection;
using vtclass::platform::OwnedModule;
using vtclass::platform::ScopedLock;

namespace {

constexpr wchar_t kBaseName[] = L"vterrors";
constexpr wchar_t kExtension[] = L".dll";

// The registered module and, once loaded, the messages found beside it.
struct Registration {
  CriticalSection section;
  HINSTANCE module VTCLASS_GUARDED_BY(section) = nullptr;
  std::unique_ptr<StringResourceMgr> messages VTCLASS_GUARDED_BY(section);
};

// The file of those messages, for threads that may be killed: they must not hold the lock.
constinit std::atomic<HMODULE> loadedLibrary{nullptr};

// Made on first use and gone with the library; what it then unloads has no code of its own.
Registration& Shared() {
  static Registration registration;
  return registration;
}

// The folder of the module's file with its trailing backslash; empty when there is no such module.
std::wstring FolderOf(HINSTANCE module) {
  constexpr std::size_t kLongestPath = 32768;
  for (std::wstring path(MAX_PATH, L'\0'); path.size() <= kLongestPath;
       path.resize(2 * path.size())) {
    const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) break;
    if (length < path.size()) return path.substr(0, path.rfind(L'\\', length) + 1);
  }
  return {};
}

std::wstring SelectedLanguage() {
  Configuration product;
  wcstring language;
  const bool found = product.Open(Configuration::openExisting, kLanguage.key.Path(), nullptr,
                                  Configuration::accessRead) &&
                     product.Load(kLanguage.name, language);
  if (!found || !vtclass::log::IsLanguageCode(language)) return {};
  return std::move(language);
}

OwnedModule LoadFile(const std::wstring& path) {
  return OwnedModule(::LoadLibraryExW(path.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES));
}

}  // namespace

void ErrorMessageBase::set_ModuleInstance(HINSTANCE module) {
  Registration& registration = Shared();
  const ScopedLock lock(registration.section);
  registration.module = module;
  loadedLibrary = nullptr;
  registration.messages.reset();
}

bool ErrorMessageBase::BaseInit() {
  return vtclass::platform::StatusOf([] { return GetMessages().GetErrorCode(); }) == ERROR_SUCCESS;
}

StringResourceMgr ErrorMessageBase::GetMessages() {
  Registration& registration = Shared();
  const ScopedLock lock(registration.section);
  if (!registration.messages) {
    registration.messages = std::make_unique<StringResourceMgr>(Load(registration.module));
    loadedLibrary = registration.messages->state->Library();
  }
  return *registration.messages;
}

StringResourceMgr::State* ErrorMessageBase::MessagesOrNull() noexcept {
  return vtclass::platform::MadeOrNull([] {
    const StringResourceMgr messages = GetMessages();
    messages.state->AddReference();
    return messages.state;
  });
}

StringResourceMgr ErrorMessageBase::Load(HINSTANCE module) {
  const std::wstring folder = FolderOf(module);
  const std::wstring language = SelectedLanguage();
  if (const unsigned locale = vtclass::log::LocaleOfLanguage(language)) {
    ::SetThreadLocale(MAKELCID(locale, SORT_DEFAULT));
  }
  OwnedModule library;
  DWORD error = ERROR_MOD_NOT_FOUND;
  // A bare name would be sought along the search path, where anybody may have put a library.
  if (!folder.empty()) {
    if (!language.empty()) library = LoadFile(folder + kBaseName + L"_" + language + kExtension);
    if (!library) library = LoadFile(folder + kBaseName + kExtension);
    error = library ? ERROR_SUCCESS : ::GetLastError();
  }
  return StringResourceMgr(new StringResourceMgr::State(std::move(library), error));
}

OwnedModule vtclass::log::HoldMessageLibrary() noexcept {
  OwnedModule held;
  const HMODULE library = loadedLibrary;
  // One that has been given up since is not found.
  if (library) {
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(library),
                         held.Receive());
  }
  return held;
}
