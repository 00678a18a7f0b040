#ifndef VTCLASS_TOOLS_VTCTL_SHARED_SEAL_H
#define VTCLASS_TOOLS_VTCTL_SHARED_SEAL_H

#include <cstddef>
#include <string>
#include <string_view>

#include "crypto/armour.h"
#include "crypto/sealed_text.h"
#include "tools/vtctl/shared/secret.h"

/* What a stored text says of itself as a sealed credential. */
namespace vtctl {

inline constexpr unsigned kSealAlgorithm = 4;
/* The longest text, in bytes, of which the library's readers take the ordinary seal. */
inline constexpr std::size_t kMostOrdinaryBytes =
    vtclass::crypto::DisarmedLength(vtclass::crypto::kLongestSealedText);

enum class SealForm {
  nothing,      /* no text at all */
  none,         /* no seal: plain text, or a damaged seal */
  ordinary,     /* the library's fixed key */
  machineBound, /* the system's data protection */
  later         /* of a version of the form that this library does not know */
};

struct OpenedSeal {
  SealForm form = SealForm::nothing;
  bool opens = false;
  bool isUtf8 = false;      /* what an ordinary one opens to; otherwise it may be of a code page */
  unsigned long status = 0; /* why a machine-bound one does not open */
};

/*
 * Opens `sealed`; what is in it comes into `secret`, also where it does not count. Nothing in an
 * ordinary seal tells whether it is whole: it counts as opening when what comes out reads as text.
 * So a text of eleven characters that was never sealed passes in one of some thirty cases, a longer
 * one hardly ever; and a secret that does not read as text does not pass.
 */
OpenedSeal OpenSeal(const std::string& sealed, Secret& secret);

/* "ordinary", "machine-bound", ...: the form for scripts. */
const char* FormWord(SealForm form);

}  // namespace vtctl

#endif
