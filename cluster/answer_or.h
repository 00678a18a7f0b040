#ifndef VTCLASS_CLUSTER_ANSWER_OR_H
#define VTCLASS_CLUSTER_ANSWER_OR_H

#include <vtclass/win32.h>

#include <vtsocket/vtsocket.h>

#include "platform/no_throw.h"

namespace vtclass::cluster {

/*
 * What `work(error)` answers, or `otherwise` when it throws: running out of memory and a library
 * that does not load are all that the texts and the libraries beside this one can throw, and the
 * family's functions let nothing out. The thread's last error becomes `error`, which `work` sets to
 * why it has no answer (0: it has one), or the code of what was thrown.
 */
template <typename Result, typename Work>
Result AnswerOr(Result otherwise, Work work) noexcept {
  unsigned long error = ERROR_SUCCESS;
  Result answer = otherwise;
  const DWORD failure = platform::StatusOf<VTSocket::VTSocketError>([&] { answer = work(error); });
  ::SetLastError(failure != ERROR_SUCCESS ? failure : error);
  return answer;
}

/* The answer of `ask(text, error)`, with the text in `out`; no, and an empty text, when it throws.
 * The question may be asked of `out` itself, which changes last. */
template <typename Text, typename Ask>
bool AskForText(Text& out, Ask ask) noexcept {
  Text text;
  bool hasEnded = false;
  const bool answer = AnswerOr(false, [&](unsigned long& error) {
    const bool asked = ask(text, error);
    hasEnded = true;
    return asked;
  });
  if (!hasEnded) text.clear();
  out.swap(text);
  return answer;
}

}  // namespace vtclass::cluster

#endif
