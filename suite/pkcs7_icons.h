// How the suite's own file types look in Explorer. No state.
#pragma once

// Gives ".p7m" and ".p7s" their icons: where the default value of "HKCR\.p7m\DefaultIcon\" (or of ".p7s") is
// empty and the icon file is in the install folder, the icon's full path is written there.
void repair_Pkcs7Icons();
