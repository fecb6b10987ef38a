// What the About and Device tabs say of the product.
#pragma once

#include <windows.h>

namespace r5lqz {

// Puts the product's version and the maker's notice, with the year of this build, into the two controls.
void ShowProductInfo(HWND dialog, int version_control, int notice_control);

}  // namespace r5lqz
