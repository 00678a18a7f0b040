#include "strings/wide_text.h"
