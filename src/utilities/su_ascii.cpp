#include "utilities/su_ascii.h"

namespace vexmor {
void su2ascii2(Session&) {}
void su2Ascii(Session&) {}
}  // namespace vexmor
