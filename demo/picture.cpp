#include "picture.h"

#include <algorithm>
#include <memory>
#include <type_traits>

// Some versions of the header below call min and max without a namespace.
// NOLINTBEGIN(readability-identifier-naming)
namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
// NOLINTEND(readability-identifier-naming)
#include <objidl.h>

#include <gdiplus.h>

namespace demo {
namespace {

constexpr CLSID kPngEncoder = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};

struct DeleteBitmap {
  void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
};
using OwnedBitmap = std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteBitmap>;

OwnedBitmap CopyContents(HWND window) {
  RECT area;
  if (!GetClientRect(window, &area)) return {};
  const HDC shown = GetDC(window);
  const HDC memory = CreateCompatibleDC(shown);
  OwnedBitmap bitmap(CreateCompatibleBitmap(shown, area.right, area.bottom));
  const HGDIOBJ previous = SelectObject(memory, bitmap.get());
  if (!BitBlt(memory, 0, 0, area.right, area.bottom, shown, 0, 0, SRCCOPY)) bitmap.reset();
  SelectObject(memory, previous);
  DeleteDC(memory);
  ReleaseDC(window, shown);
  return bitmap;
}

bool SaveBitmap(HBITMAP bitmap, const std::wstring& path) {
  const Gdiplus::GdiplusStartupInput input;
  ULONG_PTR token = 0;
  if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok) return false;
  const bool saved = Gdiplus::Bitmap(bitmap, nullptr).Save(path.c_str(), &kPngEncoder, nullptr) == Gdiplus::Ok;
  Gdiplus::GdiplusShutdown(token);
  return saved;
}

}  // namespace

bool SavePicture(HWND window, const std::wstring& path) {
  const OwnedBitmap bitmap = CopyContents(window);
  return bitmap && SaveBitmap(bitmap.get(), path);
}

}  // namespace demo
