// The dialog templates, strings and bitmaps of the shipped module in the language of the locale that it is run in:
// everything is there, fits with real fonts and is reached by the keyboard. Makes windows, so it needs a display.
#include "module_resources.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "resources/resource_ids.h"

namespace tests {
namespace {

constexpr LANGID kEnglish = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
const std::map<std::string, LANGID> kLanguages{
    {"en", kEnglish}, {"de", LANG_GERMAN}, {"fr", LANG_FRENCH}, {"es", LANG_SPANISH}, {"zh", LANG_CHINESE}};

constexpr struct {
  int id;
  LONG english_width, english_height;
} kTemplates[] = {{IDD_DEVICE_TAB, 252, 215}, {IDD_PAGE_TAB, 380, 242},  {IDD_LAYOUT_TAB, 380, 242},
                  {IDD_COLOR_TAB, 380, 242},  {IDD_ABOUT_TAB, 380, 242}, {IDD_MANAGE_PAGES, 372, 262},
                  {IDD_CUSTOM_PAGE, 256, 146}};

// The longest that controls show at run time: a text, and a string of the table after it.
const struct {
  std::vector<int> controls;
  const wchar_t* text;
  int string_id;
} kRunTimeTexts[] = {
    {{IDC_MANAGE_WIDTH_RANGE, IDC_CUSTOM_WIDTH_RANGE}, L"10.000 - 2970.000", 0},
    {{IDC_MANAGE_LENGTH_RANGE, IDC_CUSTOM_LENGTH_RANGE}, L"254.000 - 9017.000", 0},
    {{IDC_MANAGE_VERT_READOUT, IDC_CUSTOM_VERT_READOUT}, L"-50.800 ", IDS_MM},
    {{IDC_MANAGE_HORZ_READOUT, IDC_CUSTOM_HORZ_READOUT}, L"-2.000 ", IDS_INCHES},
};

// The language that the platform chose.
LANGID Language() {
  wchar_t code[8] = L"";
  LoadStringW(Module(), IDS_LANGUAGE, code, 8);
  const auto found = kLanguages.find(Shown(code));
  return found != kLanguages.end() ? found->second : LANG_NEUTRAL;
}

struct Control {
  HWND window;
  int id;
  std::wstring kind, text;
  DWORD style;
  RECT frame;     // pixels, in the dialog
  RECT occupied;  // where it really paints: of a text less than its frame

  bool Is(const wchar_t* name) const { return kind == name; }
  bool IsButton(DWORD type) const { return Is(L"Button") && (style & BS_TYPEMASK) == type; }
  bool IsGroup() const { return IsButton(BS_GROUPBOX); }
  bool IsRadio() const { return IsButton(BS_AUTORADIOBUTTON); }
  bool IsText() const { return Is(L"Static") && (style & SS_TYPEMASK) == SS_LEFT; }
};

std::string Name(const Control& control) {
  return std::to_string(control.id) + " \"" + Shown(control.text) + "\"";
}

// The pixels that a control needs for a text in its own font, with the mark or border beside it.
SIZE Measure(const Control& control, const std::wstring& text) {
  SIZE beside{0, 0};
  if (control.IsButton(BS_PUSHBUTTON) || control.IsButton(BS_DEFPUSHBUTTON)) {
    beside = {10, 6};
  } else if (control.Is(L"Button")) {
    beside = {18, 0};
  }
  const HDC context = GetDC(control.window);
  const HGDIOBJ former = SelectObject(context, reinterpret_cast<HFONT>(SendMessageW(control.window, WM_GETFONT, 0, 0)));
  std::vector<WORD> glyphs(text.size());
  GetGlyphIndicesW(context, text.c_str(), static_cast<int>(text.size()), glyphs.data(), GGI_MARK_NONEXISTING_GLYPHS);
  EXPECT_EQ(std::set(glyphs.begin(), glyphs.end()).count(0xFFFF), 0u) << "no font for " << Shown(text);
  RECT rect{0, 0, control.frame.right - control.frame.left - beside.cx, 0};
  const bool wraps = control.Is(L"Button") && control.style & BS_MULTILINE;
  DrawTextW(context, text.c_str(), -1, &rect, DT_CALCRECT | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
  SelectObject(context, former);
  ReleaseDC(control.window, context);
  return {rect.right + beside.cx, rect.bottom + beside.cy};
}

// The template with what "MS Shell Dlg" is on Windows in its place. The platform here has fonts of its own choice under
// that name, another one as soon as a program with another locale starts.
std::vector<BYTE> WithFontOfWindows(const std::vector<BYTE>& bytes, LANGID language) {
  const auto of = [](std::wstring_view name) {
    std::vector<BYTE> text(name.size() * 2 + 2);
    std::memcpy(text.data(), name.data(), name.size() * 2);
    return text;
  };
  const std::vector<BYTE> own = of(L"MS Shell Dlg"), real = of(language == LANG_CHINESE ? L"SimSun" : L"MS Sans Serif");
  const auto found = std::ranges::search(bytes, own);
  EXPECT_FALSE(found.empty()) << "another font than MS Shell Dlg";
  std::vector<BYTE> changed(bytes.begin(), found.begin());
  changed.insert(changed.end(), real.begin(), real.end());
  // The controls begin at the next multiple of four, before and after.
  const auto rest = static_cast<std::size_t>(found.end() - bytes.begin() + 3) / 4 * 4;
  changed.resize((changed.size() + 3) / 4 * 4);
  if (rest < bytes.size())
    changed.insert(changed.end(), bytes.begin() + static_cast<std::ptrdiff_t>(rest), bytes.end());
  return changed;
}

// A template as a real dialog, in a window of its own that is never shown.
struct Dialog {
  HWND owner = nullptr, window = nullptr;
  std::vector<Control> controls;

  Dialog(int id, LANGID language) {
    const std::vector<BYTE> resource = Resource(RT_DIALOG, id, language);
    if (resource.empty()) {
      ADD_FAILURE() << "template " << id << " is missing in the resources of language " << language;
      return;
    }
    std::vector<BYTE> bytes = WithFontOfWindows(resource, language);
    owner = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 800, 600, nullptr, nullptr, nullptr, nullptr);
    window = CreateDialogIndirectParamW(
        Module(), reinterpret_cast<LPCDLGTEMPLATEW>(bytes.data()), owner,
        [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
    EXPECT_TRUE(window) << (owner ? "the template makes no dialog" : "no window at all: is there a display?");
    for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) Add(child);
  }
  Dialog(const Dialog&) = delete;
  ~Dialog() {
    DestroyWindow(window);
    DestroyWindow(owner);
  }

  void Add(HWND child) {
    wchar_t kind[64] = L"", text[256] = L"";
    GetClassNameW(child, kind, 64);
    GetWindowTextW(child, text, 256);
    Control control{child, GetDlgCtrlID(child), kind, text, static_cast<DWORD>(GetWindowLongW(child, GWL_STYLE)), {},
                    {}};
    GetWindowRect(child, &control.frame);
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&control.frame), 2);
    control.occupied = control.frame;
    if (control.IsText() && !control.text.empty()) {
      const SIZE size = Measure(control, control.text);
      control.occupied.right = control.frame.left + size.cx;
      control.occupied.bottom = control.frame.top + size.cy;
    }
    controls.push_back(control);
  }

  const Control& At(HWND child) const {
    std::size_t i = 0;
    while (i + 1 < controls.size() && controls[i].window != child) ++i;
    return controls.at(i);
  }
};

// Calls `check` with each template as a dialog in the language of this run.
template <typename Check>
void ForEachDialog(Check check) {
  for (const auto& entry : kTemplates) {
    SCOPED_TRACE("template " + std::to_string(entry.id));
    const Dialog dialog(entry.id, Language());
    ASSERT_FALSE(dialog.controls.empty());
    check(dialog, entry.id);
  }
}

bool Contains(const RECT& outer, const RECT& inner) {
  return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
         outer.bottom >= inner.bottom;
}

TEST(Resources, AreThoseOfTheLocale) {
  char locale[32] = "en";
  GetEnvironmentVariableA("R5LQZ_LOCALE", locale, sizeof locale);
  EXPECT_EQ(Language(), kLanguages.at(std::string(locale, 2)));
}

TEST(Resources, AreTheSameInEveryLanguage) {
  ForEachDialog([](const Dialog& dialog, int id) {
    const Dialog english(id, kEnglish);
    ASSERT_EQ(dialog.controls.size(), english.controls.size());
    for (std::size_t i = 0; i < dialog.controls.size(); ++i) {
      const Control &own = dialog.controls[i], &other = english.controls[i];
      EXPECT_TRUE(own.id == other.id && own.kind == other.kind && own.style == other.style) << Name(own);
      EXPECT_EQ(own.text.empty(), other.text.empty()) << Name(own);
    }
  });
  const auto strings = Strings(Language()), english = Strings(kEnglish);
  EXPECT_EQ(strings.size(), english.size());
  for (const auto& [id, text] : english) {
    ASSERT_TRUE(strings.contains(id)) << id;
    // They are put into formats and are none themselves.
    EXPECT_EQ(strings.at(id).find(L'%'), text.npos) << id;
  }
}

TEST(Resources, FitTheirControls) {
  const auto strings = Strings(Language());
  ForEachDialog([&](const Dialog& dialog, int) {
    const auto expect_fits = [](const Control& control, const std::wstring& text) {
      const SIZE needed = Measure(control, text);
      const LONG width = control.frame.right - control.frame.left, height = control.frame.bottom - control.frame.top;
      EXPECT_TRUE(needed.cx <= width && needed.cy <= height)
          << control.id << " needs " << needed.cx << " x " << needed.cy << " pixels for \"" << Shown(text)
          << "\" and has " << width << " x " << height;
    };
    for (const Control& control : dialog.controls) {
      if (control.IsText() || control.Is(L"Button")) expect_fits(control, control.text);
    }
    for (const auto& entry : kRunTimeTexts) {
      for (const int id : entry.controls) {
        const HWND control = GetDlgItem(dialog.window, id);
        if (control)
          expect_fits(dialog.At(control), entry.text + (entry.string_id ? strings.at(entry.string_id) : L""));
      }
    }
  });
}

TEST(Resources, DoNotOverlap) {
  ForEachDialog([](const Dialog& dialog, int) {
    RECT inside;
    GetClientRect(dialog.window, &inside);
    for (const Control& one : dialog.controls) {
      EXPECT_TRUE(Contains(inside, one.occupied)) << Name(one) << " leaves the dialog";
      for (const Control& other : dialog.controls) {
        // Each pair once; up-down controls sit in their edits.
        RECT common;
        if (&other <= &one || one.Is(UPDOWN_CLASSW) || other.Is(UPDOWN_CLASSW) ||
            !IntersectRect(&common, &one.occupied, &other.occupied)) {
          continue;
        }
        const Control &group = one.IsGroup() ? one : other, &member = one.IsGroup() ? other : one;
        RECT room = group.frame;
        InflateRect(&room, -2, -2);
        if (group.IsGroup()) room.top = group.frame.top + Measure(group, group.text).cy;
        EXPECT_TRUE(group.IsGroup() && Contains(room, member.occupied)) << Name(one) << " and " << Name(other);
      }
    }
  });
}

// Tab leads to everything that takes the focus, within a group from top to bottom; of radio buttons it leads to the
// checked one, and the arrow keys to the others and to nothing else. Captions name the field after them.
TEST(Resources, AreReachedByTheKeyboard) {
  ForEachDialog([](const Dialog& dialog, int) {
    std::set<HWND> expected, reached;
    std::set<wchar_t> shortcuts;
    for (const Control& control : dialog.controls) {
      const std::size_t mark = control.text.find(L'&');
      if (mark != control.text.npos) {
        EXPECT_TRUE(shortcuts.insert(control.text[mark + 1] | 0x20).second) << Name(control);
      }
      if (control.IsText() && control.text.find_last_of(L":\xFF1A") != control.text.npos) {
        EXPECT_TRUE((&control + 1)->Is(L"Edit")) << Name(control);
      }
      if (control.IsRadio())
        CheckDlgButton(dialog.window, control.id, control.style & WS_GROUP ? BST_CHECKED : BST_UNCHECKED);
      const bool stop = control.IsRadio() ? GetWindowLongW(control.window, GWL_STYLE) & WS_TABSTOP
                                          : !control.Is(L"Static") && !control.Is(UPDOWN_CLASSW) && !control.IsGroup();
      if (stop && control.style & WS_VISIBLE) expected.insert(control.window);
      if (!control.IsRadio()) continue;
      std::vector<HWND> group;
      for (HWND next = control.window; group.size() < 9 && (group.empty() || next != control.window);) {
        group.push_back(next = GetNextDlgGroupItem(dialog.window, next, FALSE));
        EXPECT_TRUE(dialog.At(next).IsRadio()) << Name(control) << " leads to " << Name(dialog.At(next));
      }
      EXPECT_EQ(group.size(), 2u) << Name(control);
    }
    const Control* last = nullptr;
    for (HWND stop = GetNextDlgTabItem(dialog.window, nullptr, FALSE); stop && reached.insert(stop).second;
         stop = GetNextDlgTabItem(dialog.window, stop, FALSE)) {
      const Control& now = dialog.At(stop);
      for (const Control& group : dialog.controls) {
        if (!last || !group.IsGroup() || !Contains(group.frame, last->frame) || !Contains(group.frame, now.frame))
          continue;
        const bool same_row = now.frame.top < last->frame.bottom && last->frame.top < now.frame.bottom;
        EXPECT_TRUE(same_row ? last->frame.left < now.frame.left : last->frame.top < now.frame.top)
            << Name(*last) << " before " << Name(now);
      }
      last = &now;
    }
    EXPECT_EQ(reached, expected);
  });
}

TEST(Resources, HaveTheirSizes) {
  for (const auto& entry : kTemplates) {
    const Dialog dialog(entry.id, kEnglish);
    RECT size{0, 0, entry.english_width, entry.english_height}, client;
    MapDialogRect(dialog.window, &size);
    GetClientRect(dialog.window, &client);
    EXPECT_TRUE(EqualRect(&size, &client)) << entry.id;
  }
  for (const auto& [id, width, height] : {std::tuple{IDB_STRIP, 126, 30}, std::tuple{IDB_PICTURE, 242, 371}}) {
    BITMAPINFOHEADER header{};
    const std::vector<BYTE> bytes = Resource(RT_BITMAP, id, LANG_NEUTRAL);
    ASSERT_GE(bytes.size(), sizeof header);
    std::memcpy(&header, bytes.data(), sizeof header);
    EXPECT_TRUE(header.biWidth == width && header.biHeight == height && header.biBitCount == 24) << id;
  }
}

}  // namespace
}  // namespace tests
