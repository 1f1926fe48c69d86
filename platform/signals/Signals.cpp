#include "platform/signals/Signals.h"
