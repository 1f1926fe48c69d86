#include "platform/orb/ORB_wrapper.h"
