#include "Value/decibel_kernels.h"
