#ifndef VTCLASS_TESTS_SUPPORT_ALL_INTERLEAVINGS_H
#define VTCLASS_TESTS_SUPPORT_ALL_INTERLEAVINGS_H

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <vector>

namespace vtclass::test {

/*
 * An exhaustive scheduler: visits every state that any order of steps leads to, each once, nearest
 * first, until a check fails. `visit(state, next)` checks a state and appends what the next step of
 * each thread makes of it. Returns the number of states.
 */
template <typename State, typename Visit>
std::size_t VisitAll(const State& start, Visit visit) {
  std::set<State> known{start};
  std::vector<State> round{start};
  while (!round.empty()) {
    std::vector<State> following;
    for (const State& state : round) {
      std::vector<State> next;
      visit(state, next);
      if (::testing::Test::HasFailure()) return known.size();
      for (State& found : next) {
        if (known.insert(found).second) following.push_back(std::move(found));
      }
    }
    round.swap(following);
  }
  return known.size();
}

}  // namespace vtclass::test

#endif
