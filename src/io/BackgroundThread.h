#pragma once

namespace Tessaly {

/// Marks the calling thread as one whose work can wait for a person's: from now on processor time goes to others first
/// where there are fewer cores than threads, and so does hdf5Mutex() where they wait for it. For the threads of a pool
/// of one's own, as it can't be undone.
void markBackgroundThread();

} // namespace Tessaly
