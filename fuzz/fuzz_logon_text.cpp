#include "fuzz/fuzz_input.h"
#include "security/account_text.h"
#include "security/folder_path.h"

using namespace vtclass;
using namespace vtclass::security;
using fuzz::Check;

// Nothing of an account is lost or put elsewhere, and its user ends where it does. A path keeps a
// backslash at its end only where nothing else follows the prefix of an extended one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const WideView text = input.Text();
  const WideText terminated(text.substr(0, text.find(WideUnit{0})));
  const WideView account = terminated;
  const AccountParts parts = SplitAccount(terminated.c_str());
  const bool isSplit = account.find(WideUnit{'\\'}) != WideView::npos;
  Check(parts.domain.data() == account.data());
  Check(parts.domain.find(WideUnit{'\\'}) == WideView::npos);
  Check(isSplit || parts.domain.empty());
  Check(parts.user == account.data() + parts.domain.size() + (isSplit ? 1 : 0));

  const WideView folder = WithoutTrailingBackslashes(text);
  Check(text.starts_with(folder));
  Check(WithoutTrailingBackslashes(folder) == folder);
  Check(text.substr(folder.size()).find_first_not_of(WideUnit{'\\'}) == WideView::npos);
  if (folder.ends_with(WideUnit{'\\'})) {
    Check(folder.substr(0, folder.size() - 1).find(WideUnit{'\\'}, 4) == WideView::npos);
  }
  return 0;
}
