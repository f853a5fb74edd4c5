#pragma once

#include "core/VQDMetadata.h"

#include <cstdint>

namespace Tessaly {

/// Turns the attributes of an open file's root group into text.
///
/// Scalars only: text as it stands, reals with six digits behind the point, integers and enumerations in decimal. A
/// list of points (reals, shape n x 2) becomes "(x,y), (x,y)", and a gate if its name says so. What is left is dropped.
/// Unreadable attributes are reported on the standard error stream and skipped. The caller holds hdf5Mutex().
VQDMetadata readFileMetadata(std::int64_t file);

} // namespace Tessaly
