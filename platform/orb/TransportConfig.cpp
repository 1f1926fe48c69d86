#include "platform/orb/TransportConfig.h"
