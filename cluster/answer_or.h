#ifndef VTCLASS_CLUSTER_ANSWER_OR_H
#define VTCLASS_CLUSTER_ANSWER_OR_H

#include <exception>

namespace vtclass::cluster {

/* What `work` answers, or `otherwise` when it throws: running out of memory is all that the texts
 * and the cluster library can throw, and the family's functions let nothing out. */
template <typename Result, typename Work>
Result AnswerOr(Result otherwise, Work work) noexcept {
  try {
    return work();
  } catch (const std::exception&) {
    return otherwise;
  }
}

/* The answer of `ask(text)`, with the text in `out`; no, and an empty text, when it throws. The
 * question may be asked of `out` itself, which changes last. */
template <typename Text, typename Ask>
bool AskForText(Text& out, Ask ask) noexcept {
  Text text;
  bool answer = false;
  try {
    answer = ask(text);
  } catch (const std::exception&) {
    text.clear();
  }
  out.swap(text);
  return answer;
}

}  // namespace vtclass::cluster

#endif
