#pragma once

namespace Tessaly {

/// Clears the upper halves of the processor's wide vector registers, where it has any.
///
/// Library code that leaves them in use slows down every later mix of ordinary floating-point code and the C library's
/// mathematical functions: a million logarithms took 15 times as long. Starting the window system was seen to do
/// so. Kernels with such functions in their loops call this first. A few instructions; any thread.
void clearUpperVectorState();

} // namespace Tessaly
