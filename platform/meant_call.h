#ifndef VTCLASS_PLATFORM_MEANT_CALL_H
#define VTCLASS_PLATFORM_MEANT_CALL_H

/*
 * Between these stands the call of a function of which Microsoft's headers warn, and which is meant
 * all the same: for what it answers, or because what they propose is no better here. The warning
 * stays on everywhere else.
 */
#if defined(__clang__)
// clang-format off: the text stays in one piece
#define VTCLASS_MEANT_BEGIN \
  _Pragma("clang diagnostic push") \
  _Pragma("clang diagnostic ignored \"-Wdeprecated-declarations\"")
// clang-format on
#define VTCLASS_MEANT_END _Pragma("clang diagnostic pop")
#elif defined(_MSC_VER)
#define VTCLASS_MEANT_BEGIN __pragma(warning(push)) __pragma(warning(disable : 4996))
#define VTCLASS_MEANT_END __pragma(warning(pop))
#endif

#endif
