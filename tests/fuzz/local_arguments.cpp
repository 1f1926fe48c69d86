#include "platform/orb/ORB_wrapper.h"

namespace {
char program[] = "orb_test";
}

extern "C" {
int localargc = 1;
char* localargv[] = {program, nullptr};
}
