#include "platform/components/ItemNamer.h"
