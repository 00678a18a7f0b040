#ifndef VTCLASS_NET_NAME_FORMS_H
#define VTCLASS_NET_NAME_FORMS_H

#include "strings/wide_text.h"

/* How server names are taken apart and put together. Nothing here asks the system. */
namespace vtclass::net {

/* The server in a name that may be a UNC path: without leading backslashes, up to the first of the
 * others. A part of `name`, empty when there is nothing but backslashes. */
WideView ServerIn(WideView name) noexcept;

/*
 * The NetBIOS form of a DNS name: what stands before its first dot, without \ / : * ? " < > | and
 * without every character of which `isGraphic` says that it prints nothing; 15 characters at most.
 */
WideText NetBiosForm(WideView name, bool (*isGraphic)(WideUnit));

/* What stands before the first dot, without the dot. A part of `name`. */
WideView FirstLabel(WideView name) noexcept;

/* `name`; where it holds no dot, with the domain of `fullName` (from its first dot on) behind it.
 */
WideText WithDomainOf(WideView name, WideView fullName);

/* `text` with every occurrence of `what` replaced, from left to right; the search goes on behind
 * each replacement. Exact in case. An empty `what` occurs nowhere. */
WideText Replaced(WideView text, WideView what, WideView with);

/* True for the shape of a RAC virtual node, such as "RAC-ORCL-12": "RAC" in any case, two dashes or
 * more, and only the digits 0 to 9 behind the last one, or nothing. */
bool HasRacShape(WideView name) noexcept;

/* The parts of a UNC path. */
struct UncParts {
  WideView server; /* with the two leading backslashes */
  WideView share;  /* up to the next backslash; may be empty */
};

/* Both are parts of `path`. False, and `parts` as before, when `path` has fewer than 5 characters,
 * does not begin with two backslashes, or has no other backslash. */
bool SplitUnc(WideView path, UncParts& parts) noexcept;

}  // namespace vtclass::net

#endif
