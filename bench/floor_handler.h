// The class of the floor handler, which the benchmark makes beside the product's.
#pragma once

#include <windows.h>

constexpr CLSID clsid_Floor{0x6a0e8a1b, 0x7d0c, 0x4f0e, {0x9c, 0x51, 0x3b, 0x0d, 0x5e, 0x2a, 0x77, 0x14}};
