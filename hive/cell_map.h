#ifndef VTCLASS_HIVE_CELL_MAP_H
#define VTCLASS_HIVE_CELL_MAP_H

#include <cstdint>
#include <vector>

#include "hive/bytes.h"
#include "hive/problem.h"

namespace vtclass::hive {

/*
 * The cells of a hive's bins: where they begin, and which of them have been given out. Each is
 * given out once, because in a hive one thing alone leads to it. So neither a loop nor a cell that
 * stands for a thousand others can keep a reader busy: all that it reads together is no more than
 * the file.
 */
class CellMap {
 public:
  /* Looks at all bins and cells and reports those that cannot be right; a page or a bin's rest that
   * cannot be read counts as having no cells. */
  CellMap(Bytes bins, const ReportProblem& report);

  /* The content of the cell that begins at that offset. What is wrong with it is stored in `fault`;
   * then the content is empty. */
  Bytes Take(std::uint32_t offset, const char*& fault);

  /* The same for a cell that many may lead to, again and again; `isFirst` tells whether it has been
   * given out before. Nobody can take it any more. */
  Bytes Share(std::uint32_t offset, const char*& fault, bool& isFirst);

  /* Calls `tell` with the content of each cell in use that has not been given out. */
  template <typename Tell>
  void ForEachLeft(Tell tell) const {
    for (std::size_t n = 0; n < states.size(); ++n) {
      if (states[n] == State::inUse) tell(Content(n * kCellStep));
    }
  }

  /* The content of a cell in use, without taking it; empty when there is none. */
  Bytes Look(std::uint32_t offset) const;

 private:
  static constexpr std::size_t kCellStep = 8;

  enum class State : unsigned char { noCell, free, inUse, taken, shared };

  std::size_t ReadBin(std::size_t at, const ReportProblem& report);
  State* Find(std::uint32_t offset, const char*& fault);
  Bytes Content(std::size_t offset) const;

  Bytes bins;
  std::vector<State> states; /* of every eight bytes: cells begin at such places */
};

}  // namespace vtclass::hive

#endif
