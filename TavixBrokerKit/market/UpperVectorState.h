#pragma once

namespace tavix {

// Some library code (Qt's time-zone lookup among it) returns with the upper halves of the AVX
// registers in use. Until something clears them, every switch between that state and plain SSE code
// stalls, and a loop calling the maths library (sin, exp, log) switches twice a step: such loops ran
// about twenty times slower. Call this on entry to such a loop; it costs nothing. A no-op off x86-64.
void clearUpperVectorState();

}  // namespace tavix
