// The dialog templates, strings and bitmaps of the shipped module in the language of the locale that it is run in:
// everything is there, fits with real fonts and is reached by the keyboard. Makes windows, so it needs a display.
#include "module_resources.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

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

// The language that the platform chose.
LANGID Language() {
  wchar_t code[8] = L"";
  LoadStringW(Module(), IDS_LANGUAGE, code, 8);
  return kLanguages.at(Shown(code));
}

struct Control {
  HWND window;
  int id;
  std::wstring kind, text;
  DWORD style;
  RECT frame;     // pixels, in the dialog
  RECT occupied;  // where it really paints: a text on less than its frame

  bool Is(const wchar_t* name) const { return kind == name; }
  bool IsButton(DWORD type) const { return Is(L"Button") && (style & BS_TYPEMASK) == type; }
  bool IsGroup() const { return IsButton(BS_GROUPBOX); }
  bool IsRadio() const { return IsButton(BS_AUTORADIOBUTTON); }
  bool IsText() const { return Is(L"Static") && (style & SS_TYPEMASK) == SS_LEFT; }
  std::string Name() const { return std::to_string(id) + " \"" + Shown(text) + "\""; }

  // The pixels that a text needs in the control's own font, with the mark or border beside it.
  SIZE Needs(const std::wstring& shown) const {
    const bool pushed = IsButton(BS_PUSHBUTTON) || IsButton(BS_DEFPUSHBUTTON);
    const SIZE beside = pushed ? SIZE{10, 6} : Is(L"Button") ? SIZE{18, 0} : SIZE{};
    const HDC context = GetDC(window);
    const HGDIOBJ former = SelectObject(context, reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)));
    std::vector<WORD> glyphs(shown.size());
    GetGlyphIndicesW(context, shown.c_str(), static_cast<int>(shown.size()), glyphs.data(),
                     GGI_MARK_NONEXISTING_GLYPHS);
    EXPECT_EQ(std::ranges::count(glyphs, 0xFFFF), 0) << "no font for " << Shown(shown);
    RECT rect{0, 0, frame.right - frame.left - beside.cx, 0};
    const bool wraps = Is(L"Button") && style & BS_MULTILINE;
    DrawTextW(context, shown.c_str(), -1, &rect, DT_CALCRECT | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
    SelectObject(context, former);
    ReleaseDC(window, context);
    return {rect.right + beside.cx, rect.bottom + beside.cy};
  }
  void ExpectHasRoomFor(const std::wstring& shown) const {
    const SIZE needed = Needs(shown);
    EXPECT_TRUE(needed.cx <= frame.right - frame.left && needed.cy <= frame.bottom - frame.top)
        << id << " needs " << needed.cx << " x " << needed.cy << " pixels for " << Shown(shown);
  }
};

// The template with what "MS Shell Dlg" is on Windows in its place. The platform here has fonts of its own choice under
// that name, another one as soon as a program with another locale starts.
std::wstring WithFontOfWindows(const std::vector<BYTE>& bytes, LANGID language) {
  const std::wstring own = L"MS Shell Dlg", real = language == LANG_CHINESE ? L"SimSun" : L"MS Sans Serif";
  const std::wstring words(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  const std::size_t at = words.find(own + L'\0');
  EXPECT_NE(at, words.npos) << "another font";
  // The controls begin at the next multiple of four bytes, before and after.
  std::wstring head = words.substr(0, at) + real + L'\0';
  head.resize((head.size() + 1) / 2 * 2);
  return head + words.substr((at + own.size() + 2) / 2 * 2);
}

// A template as a real dialog that is never shown.
struct Dialog {
  HWND window;
  std::vector<Control> controls;

  Dialog(int id, LANGID language)
      : window(CreateDialogIndirectParamW(
            Module(),
            reinterpret_cast<LPCDLGTEMPLATEW>(WithFontOfWindows(Resource(RT_DIALOG, id, language), language).c_str()),
            GetDesktopWindow(), [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0)) {
    EXPECT_TRUE(window) << "no template, or no display";
    for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      wchar_t kind[64] = L"", text[256] = L"";
      GetClassNameW(child, kind, 64);
      GetWindowTextW(child, text, 256);
      const auto style = static_cast<DWORD>(GetWindowLongW(child, GWL_STYLE));
      RECT frame;
      GetWindowRect(child, &frame);
      MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&frame), 2);
      controls.push_back({child, GetDlgCtrlID(child), kind, text, style, frame, frame});
      Control& control = controls.back();
      if (!control.IsText() || control.text.empty()) continue;
      const SIZE size = control.Needs(control.text);
      control.occupied = {frame.left, frame.top, frame.left + size.cx, frame.top + size.cy};
    }
  }
  Dialog(const Dialog&) = delete;
  ~Dialog() { DestroyWindow(window); }

  const Control& At(HWND child) const { return *std::ranges::find(controls, child, &Control::window); }
};

// Calls `check` with each template as a dialog in the language of this run.
template <typename Check>
void ForEachDialog(Check check) {
  for (const auto& entry : kTemplates) {
    SCOPED_TRACE("template " + std::to_string(entry.id));
    const Dialog dialog(entry.id, Language());
    ASSERT_FALSE(dialog.controls.empty());
    check(dialog, entry);
  }
}

bool Contains(const RECT& outer, const RECT& inner) {
  RECT both;
  UnionRect(&both, &outer, &inner);
  return EqualRect(&both, &outer);
}

TEST(Resources, AreTheLocalesAndTheSameInEveryLanguage) {
  const char* const locale = std::getenv("R5LQZ_LOCALE");
  EXPECT_EQ(Language(), kLanguages.at(std::string(locale ? locale : "en", 2)));
  ForEachDialog([](const Dialog& dialog, const auto& entry) {
    const Dialog english(entry.id, kEnglish);
    RECT size{0, 0, entry.english_width, entry.english_height}, client;
    MapDialogRect(english.window, &size);
    GetClientRect(english.window, &client);
    EXPECT_TRUE(EqualRect(&size, &client));
    ASSERT_EQ(dialog.controls.size(), english.controls.size());
    for (std::size_t i = 0; i < dialog.controls.size(); ++i) {
      const Control &own = dialog.controls[i], &other = english.controls[i];
      EXPECT_TRUE(own.id == other.id && own.kind == other.kind && own.style == other.style &&
                  own.text.empty() == other.text.empty())
          << own.Name();
    }
  });
  const auto strings = Strings(Language()), english = Strings(kEnglish);
  EXPECT_EQ(strings.size(), english.size());
  for (const auto& [id, text] : english) {
    ASSERT_TRUE(strings.contains(id)) << id;
    // They are put into formats and are none themselves.
    EXPECT_EQ(strings.at(id).find(L'%'), text.npos) << id;
  }
  for (const auto& [id, width, height] : {std::tuple{IDB_STRIP, 126, 30}, std::tuple{IDB_PICTURE, 242, 371}}) {
    BITMAPINFOHEADER header{};
    const std::vector<BYTE> bytes = Resource(RT_BITMAP, id, LANG_NEUTRAL);
    ASSERT_GE(bytes.size(), sizeof header);
    std::memcpy(&header, bytes.data(), sizeof header);
    EXPECT_TRUE(header.biWidth == width && header.biHeight == height && header.biBitCount == 24) << id;
  }
}

TEST(Resources, FitTheirControls) {
  const auto strings = Strings(Language());
  // The longest that controls show at run time.
  const std::pair<std::wstring, std::vector<int>> run_time_texts[] = {
      {L"10.000 - 2970.000", {IDC_MANAGE_WIDTH_RANGE, IDC_CUSTOM_WIDTH_RANGE}},
      {L"254.000 - 9017.000", {IDC_MANAGE_LENGTH_RANGE, IDC_CUSTOM_LENGTH_RANGE}},
      {L"-50.800 " + strings.at(IDS_MM), {IDC_MANAGE_VERT_READOUT, IDC_CUSTOM_VERT_READOUT}},
      {L"-2.000 " + strings.at(IDS_INCHES), {IDC_MANAGE_HORZ_READOUT, IDC_CUSTOM_HORZ_READOUT}}};
  ForEachDialog([&](const Dialog& dialog, const auto&) {
    for (const Control& control : dialog.controls) {
      if (control.IsText() || control.Is(L"Button")) control.ExpectHasRoomFor(control.text);
      for (const auto& [text, ids] : run_time_texts) {
        if (std::ranges::count(ids, control.id)) control.ExpectHasRoomFor(text);
      }
    }
  });
}

TEST(Resources, DoNotOverlap) {
  ForEachDialog([](const Dialog& dialog, const auto&) {
    RECT inside;
    GetClientRect(dialog.window, &inside);
    for (const Control& one : dialog.controls) {
      EXPECT_TRUE(Contains(inside, one.occupied)) << one.Name() << " leaves the dialog";
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
        if (group.IsGroup()) room.top = group.frame.top + group.Needs(group.text).cy;
        EXPECT_TRUE(group.IsGroup() && Contains(room, member.occupied)) << one.Name() << " and " << other.Name();
      }
    }
  });
}

// Tab leads to everything that takes the focus, within a group from top to bottom; of radio buttons it leads to the
// checked one, and the arrow keys to the other and to nothing else. Captions name the field after them.
TEST(Resources, AreReachedByTheKeyboard) {
  ForEachDialog([](const Dialog& dialog, const auto&) {
    std::set<HWND> expected, reached;
    std::set<wchar_t> shortcuts;
    for (const Control& control : dialog.controls) {
      const std::size_t mark = control.text.find(L'&');
      if (mark != control.text.npos) {
        EXPECT_TRUE(shortcuts.insert(control.text[mark + 1] | 0x20).second) << control.Name();
      }
      if (control.IsText() && control.text.find_last_of(L":\xFF1A") != control.text.npos) {
        EXPECT_TRUE((&control + 1)->Is(L"Edit")) << control.Name();
      }
      bool stops = !control.Is(L"Static") && !control.Is(UPDOWN_CLASSW) && !control.IsGroup();
      if (control.IsRadio()) {
        CheckDlgButton(dialog.window, control.id, control.style & WS_GROUP ? BST_CHECKED : BST_UNCHECKED);
        stops = GetWindowLongW(control.window, GWL_STYLE) & WS_TABSTOP;
        const HWND next = GetNextDlgGroupItem(dialog.window, control.window, FALSE);
        EXPECT_TRUE(next != control.window && dialog.At(next).IsRadio()) << control.Name();
        EXPECT_EQ(GetNextDlgGroupItem(dialog.window, next, FALSE), control.window) << control.Name();
      }
      if (stops && control.style & WS_VISIBLE) expected.insert(control.window);
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
            << last->Name() << " before " << now.Name();
      }
      last = &now;
    }
    EXPECT_EQ(reached, expected);
  });
}

}  // namespace
}  // namespace tests
