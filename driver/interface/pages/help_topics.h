// The topics that the tabs' Help buttons open, as they follow the path of a help file. Every language's file has them.
#pragma once

#include <windows.h>

namespace r5lqz {

inline constexpr WCHAR kPageTopic[] = L"::/topics/task-selecting_a_label_stock.html";
inline constexpr WCHAR kAppearanceTopic[] = L"::/topics/task-setting_up_appearance_options.html";
inline constexpr WCHAR kLayoutTopic[] = L"::/topics/task-setting_up_layout_options.html";
inline constexpr WCHAR kAboutTopic[] = L"::/topics/concept-setting_up_the_printer_driver.html";

}  // namespace r5lqz
