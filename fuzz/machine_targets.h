// The targets that run on the platform, with the machine that the tests arrange.
#pragma once

#include "fuzz/target.h"

const std::vector<Target>& machine_Targets();
