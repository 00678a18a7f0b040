#include "tests/support/answered_look_ups.h"

#include <optional>

#include "tests/support/import_hook.h"

namespace vtclass::test {
namespace {

class AnsweredLookUps : public ::testing::Environment {
 public:
  AnsweredLookUps(decltype(::GetProcAddress)* lookUp, const wchar_t* module)
      : lookUp(lookUp), module(module) {}

  void SetUp() override {
    hook.emplace("KERNEL32.dll", "GetProcAddress", lookUp, ::GetModuleHandleW(module));
  }

 private:
  decltype(::GetProcAddress)* lookUp;
  const wchar_t* module;
  std::optional<ImportHook<decltype(::GetProcAddress)>> hook;
};

}  // namespace

::testing::Environment* AnswerLookUps(decltype(::GetProcAddress)* lookUp, const wchar_t* module) {
  return ::testing::AddGlobalTestEnvironment(new AnsweredLookUps(lookUp, module));
}

}  // namespace vtclass::test
