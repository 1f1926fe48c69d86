#include "platform/orb/ORB_base.h"
