#pragma once

#include <QString>

namespace Tessaly {

/// What a box should tell the user, in the program's words. Made where things happen, shown by the windows.
struct UserMessage {
    enum class Kind { Information, Warning, Critical };
    Kind kind = Kind::Information;
    QString title;
    QString text;

    bool operator==(const UserMessage&) const = default;
};

} // namespace Tessaly
