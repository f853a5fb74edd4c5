#pragma once

#include "io/Hdf5Library.h"
#include "io/VQDReader.h"

#include <functional>
#include <span>
#include <string>

namespace Tessaly {

/// Hands out pictures of many events, see VQDReader::readImages(). Takes hdf5Mutex() itself, a batch at a time.
/// Internal to the io layer; any thread.
/// @param open  opens the stack of pictures, called under the lock; an invalid handle if there is none
/// @param failed  told of every event whose picture can't be read, by one thread at a time; of the first one alone if
///                the stack can't be opened
void fetchPictures(const std::function<Hdf5Id()>& open, std::span<const int> events, const PictureTaker& take,
                   const std::function<void(int event, const std::string& what)>& failed);

} // namespace Tessaly
