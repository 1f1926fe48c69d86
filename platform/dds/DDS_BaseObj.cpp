#include "platform/dds/DDS_BaseObj.h"
