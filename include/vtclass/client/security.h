#ifndef VTCLASS_CLIENT_SECURITY_H
#define VTCLASS_CLIENT_SECURITY_H

/* What vtclass/security.h compiles into its callers: texts are filled, and the caller's reports
 * run, on the caller's side. Included by that header. */

namespace vtclass::border {

/* The operations behind those of the same names. */
VTCLASS_API void WhoAmI(const WideSink& domain, const WideSink& user) noexcept;
VTCLASS_API unsigned long TakeFolderOwnership(const wchar_t* path, OwnershipReport report,
                                              void* context) noexcept;

/* A caller's report, and its call on the caller's side. */
struct ContainedReport {
  OwnershipReport report;
  void* context;

  static bool Run(OwnershipStep step, const wchar_t* path, unsigned long status,
                  void* self) noexcept {
    const auto& caller = *static_cast<const ContainedReport*>(self);
    bool goesOn = false;
    Contained([&] { goesOn = caller.report(step, path, status, caller.context); });
    return goesOn;
  }
};

}  // namespace vtclass::border

inline bool Impersonator::WhoAmI(wcstring& domain, wcstring& user) noexcept {
  vtclass::border::WhoAmI(domain, user);
  return false;
}

inline wcstring Impersonator::WhoAmI() noexcept {
  wcstring identity, user;
  WhoAmI(identity, user);
  try {
    identity.append(1, L'\\').append(user);
  } catch (const std::exception&) {
    identity.resize(1);
    identity[0] = L'\\';
  }
  return identity;
}

namespace vtclass {

inline ImpersonationScope::ImpersonationScope(const wchar_t* account,
                                              const wchar_t* password) noexcept
    : token(Impersonator::LogonAndImpersonateUser(account, password, nullptr)),
      error(token ? ERROR_SUCCESS : ::GetLastError()) {}

inline void ImpersonationScope::End() noexcept {
  if (!token) return;
  Impersonator::RevertToSelfAndClose(token);
  token = nullptr;
}

inline unsigned long TakeFolderOwnership(const wchar_t* path, OwnershipReport report,
                                         void* context) noexcept {
  border::ContainedReport contained{report, context};
  return border::TakeFolderOwnership(path, report ? &border::ContainedReport::Run : nullptr,
                                     &contained);
}

}  // namespace vtclass

#endif
