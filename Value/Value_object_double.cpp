#include "Value/Value_object.h"
