#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessaly {

/// Order of one component of a path: without regard to case, then bytewise. UTF-8.
bool componentComesBefore(std::string_view left, std::string_view right);

/// Walks over the records below a folder of results in path order. Keeps the names of one folder at each level, packed:
/// about 30 bytes a name. Links to folders are not followed, folders of results that are still growing are passed over.
/// @param take  gets the path of each record; ends the walk with false
/// @param problem  takes the first folder that can't be read
/// @return false if the walk was ended
bool walkRows(const std::string& folder, const std::function<bool(const std::string& path)>& take,
              std::string& problem);

} // namespace Tessaly
