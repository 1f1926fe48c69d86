#include "platform/units/Units.h"
