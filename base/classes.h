// Where the classes of COM are registered.
#pragma once

// Those of the machine, below its root. In the merged root of classes, a key that a user has made for himself
// takes the place of the machine's.
inline constexpr const wchar_t* machines_classes = LR"(Software\Classes\)";
