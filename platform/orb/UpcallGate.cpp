#include "platform/orb/UpcallGate.h"
