#include "platform/records/Records.h"
