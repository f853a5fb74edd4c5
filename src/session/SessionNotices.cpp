#include "session/SessionNotices.h"
