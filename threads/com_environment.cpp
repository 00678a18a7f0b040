#include "vtclass/com_environment.h"

#include <vtclass/win32.h>

#include <objbase.h>

#include <atomic>
#include <bit>
#include <memory>

#include "platform/border.h"
#include "platform/bound_function.h"
#include "platform/no_throw.h"

namespace {

using vtclass::border::Failure;
using vtclass::platform::BoundFunction;
using vtclass::platform::KeepFailure;
using vtclass::platform::MadeOrNull;

constexpr unsigned long kMultithreadedOrSingle = 255;
constexpr long kNoFunction = static_cast<long>(0x8007007F);  // HRESULT of ERROR_PROC_NOT_FOUND

constinit BoundFunction<decltype(::CoInitialize)> coInitialize(L"ole32.dll", "CoInitialize",
                                                               kNoFunction);
constinit BoundFunction<decltype(::CoUninitialize)> coUninitialize(L"ole32.dll", "CoUninitialize",
                                                                   nullptr);
constinit BoundFunction<decltype(::CoInitializeSecurity)> coInitializeSecurity(
    L"ole32.dll", "CoInitializeSecurity", kNoFunction);
constinit BoundFunction<decltype(::PeekMessageW)> peekMessage(L"user32.dll", "PeekMessageW", FALSE);
constinit BoundFunction<decltype(::TranslateMessage)> translateMessage(L"user32.dll",
                                                                       "TranslateMessage", FALSE);
constinit BoundFunction<decltype(::DispatchMessageW)> dispatchMessage(L"user32.dll",
                                                                      "DispatchMessageW", 0);
constinit BoundFunction<decltype(::MsgWaitForMultipleObjects)> msgWaitForMultipleObjects(
    L"user32.dll", "MsgWaitForMultipleObjects", WAIT_FAILED);

std::atomic<ComEnvironmentFactory*> factory;

}  // namespace

ComClientEnv::ComClientEnv(long status) noexcept : status(status) {}

ComClientEnv::~ComClientEnv() {
  if (status >= 0) coUninitialize();
}

unsigned long ComClientEnv::InitializeSecurity(
    void* securityDescriptor, long authenticationServiceCount, void* authenticationServices,
    void* reserved1, unsigned long authenticationLevel, unsigned long impersonationLevel,
    void* authenticationList, unsigned long capabilities, void* reserved3) {
  // Replacing the status is meant: an environment that could not set the security stays in COM.
  status = coInitializeSecurity(securityDescriptor, authenticationServiceCount,
                                static_cast<SOLE_AUTHENTICATION_SERVICE*>(authenticationServices),
                                reserved1, authenticationLevel, impersonationLevel,
                                authenticationList, capabilities, reserved3);
  return static_cast<unsigned long>(status);
}

long ComClientEnv::GetStatus() const { return status; }

SingleThreadedCom::SingleThreadedCom() : ComClientEnv(coInitialize(nullptr)) {}

SingleThreadedCom::~SingleThreadedCom() = default;

void SingleThreadedCom::Dawdle() {
  MSG message;
  while (peekMessage(&message, nullptr, 0, 0, PM_REMOVE)) {
    translateMessage(&message);
    dispatchMessage(&message);
  }
}

unsigned long SingleThreadedCom::WaitForSingleObject(void* handle, unsigned long timeout) {
  return WaitForMultipleObjects(1, &handle, 0, timeout);
}

unsigned long SingleThreadedCom::WaitForMultipleObjects(unsigned long count, void* const* handles,
                                                        int waitAll, unsigned long timeout) {
  constexpr DWORD kAnyInput = 0xFF;
  DWORD noted = ::GetTickCount();
  Dawdle();
  unsigned long remaining = timeout;
  unsigned long result = msgWaitForMultipleObjects(count, handles, waitAll, remaining, kAnyInput);
  while (result == WAIT_OBJECT_0 + count) {
    Dawdle();
    if (timeout != INFINITE) {
      const DWORD elapsed = ::GetTickCount() - noted;
      // A handle that was signalled at the last moment is still reported.
      if (elapsed >= remaining) return ::WaitForMultipleObjects(count, handles, waitAll, 0);
      remaining -= elapsed;
    }
    noted = ::GetTickCount();
    // The second dispatch of the round: handlers count on what the first one posted being done.
    Dawdle();
    result = msgWaitForMultipleObjects(count, handles, waitAll, remaining, kAnyInput);
  }
  return result;
}

MultiThreadedCom::MultiThreadedCom(Initialize initialize, unsigned long flags)
    : ComClientEnv(initialize(nullptr, flags)) {}

MultiThreadedCom::~MultiThreadedCom() = default;

void MultiThreadedCom::Dawdle() {}

unsigned long MultiThreadedCom::WaitForSingleObject(void* handle, unsigned long timeout) {
  return ::WaitForSingleObject(handle, timeout);
}

unsigned long MultiThreadedCom::WaitForMultipleObjects(unsigned long count, void* const* handles,
                                                       int waitAll, unsigned long timeout) {
  return ::WaitForMultipleObjects(count, handles, waitAll, timeout);
}

ComEnvironmentFactory::ComEnvironmentFactory() : module(::LoadLibraryW(L"ole32.dll")) {
  if (!module) return;
  coInitializeEx =
      std::bit_cast<MultiThreadedCom::Initialize>(::GetProcAddress(module, "CoInitializeEx"));
}

ComEnvironmentFactory::~ComEnvironmentFactory() {
  if (module) ::FreeLibrary(module);
}

ComEnvironmentFactory* ComEnvironmentFactory::InstanceOrNull() noexcept {
  ComEnvironmentFactory* existing = factory.load(std::memory_order_acquire);
  if (existing) return existing;
  auto* const made = MadeOrNull([] { return new ComEnvironmentFactory; });
  if (!made) return nullptr;
  if (factory.compare_exchange_strong(existing, made, std::memory_order_acq_rel)) return made;
  delete made;  // another first caller was faster
  return existing;
}

void ComEnvironmentFactory::DestroyInstance() { delete factory.exchange(nullptr); }

std::unique_ptr<ComClientEnv> ComEnvironmentFactory::Enter(unsigned long model) const {
  std::unique_ptr<ComClientEnv> environment;
  if (model == COINIT_APARTMENTTHREADED) {
    environment = std::make_unique<SingleThreadedCom>();
  } else if (model == kMultithreadedOrSingle) {
    if (coInitializeEx) {
      environment = std::make_unique<MultiThreadedCom>(coInitializeEx, COINIT_MULTITHREADED);
      if (environment->GetStatus() < 0) environment.reset();
    }
    if (!environment) environment = std::make_unique<SingleThreadedCom>();
  } else if (coInitializeEx) {
    environment = std::make_unique<MultiThreadedCom>(coInitializeEx, model);
  }
  return environment;
}

ComClientEnv* ComEnvironmentFactory::MakeEnvironment(unsigned long model, int initSecurity,
                                                     Failure& failure) noexcept {
  std::unique_ptr<ComClientEnv> environment;
  KeepFailure(failure, [&] { environment = Enter(model); });
  if (environment && environment->GetStatus() >= 0 && initSecurity) {
    environment->InitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_CONNECT,
                                    RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_STATIC_CLOAKING,
                                    nullptr);
  }
  return environment.release();
}
