#ifndef VTCLASS_PLATFORM_GUARDED_CALL_H
#define VTCLASS_PLATFORM_GUARDED_CALL_H

#include <type_traits>

namespace vtclass::platform {

/* The work of a guarded call: a plain function and its argument. */
using GuardedWork = void (*)(void* context);

enum class GuardedResult {
  done,            /* the work returned */
  systemException, /* a structured exception ended it; its code is known */
  cppException     /* a C++ exception ended it */
};

/*
 * Runs `work(context)` and survives a structured exception (an access violation, a stack overflow,
 * ...), which ends the work where it stands; `*code` then holds the exception's code, else 0.
 *
 * Destructors between the fault and this call do not run. The work must therefore own nothing that
 * matters: locks, buffers and handles belong to the caller's frame or to longer-lived objects.
 */
GuardedResult GuardedCall(GuardedWork work, void* context, unsigned long* code);

/* The same for a callable object. It is called in place and must own nothing itself. */
template <typename Work>
GuardedResult GuardedCall(Work& work, unsigned long* code) {
  return GuardedCall([](void* context) { (*static_cast<Work*>(context))(); }, &work, code);
}

}  // namespace vtclass::platform

#endif
