#include "platform/orb/any_guard.h"
