#include "install/held_folder.h"

#include <aclapi.h>
#include <sddl.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <span>
#include <utility>

#include "base/bounded_text.h"
#include "base/open_beneath.h"

namespace r5lqz {
namespace {

// Not inherited from above: full access for the system and the administrators, reading and executing for users.
constexpr WCHAR kProtected[] = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)";

// A SID as it lies in memory, with room for the longest one here.
struct TrustedSid {
  BYTE revision = SID_REVISION;
  BYTE count;
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  DWORD parts[6];
};

// Who may own the folders besides the identity that the thread runs under.
constexpr TrustedSid kTrusted[] = {
    {.count = 1, .parts = {SECURITY_LOCAL_SYSTEM_RID}},
    {.count = 2, .parts = {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS}},
    // The service TrustedInstaller.
    {.count = 6, .parts = {SECURITY_SERVICE_ID_BASE_RID, 956008885, 3418522649, 1831038044, 1853292631, 2271478464}},
};

void FreeLocalBlock(void* block) {
  LocalFree(block);
}
using OwnedDescriptor = std::unique_ptr<void, Releaser<FreeLocalBlock>>;

// None, with the last error, when there is no memory for it.
OwnedDescriptor ProtectedDescriptor() {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const BOOL made =
      ConvertStringSecurityDescriptorToSecurityDescriptorW(kProtected, SDDL_REVISION_1, &descriptor, nullptr);
  return OwnedDescriptor(made ? descriptor : nullptr);
}

// The identity that the thread runs under: its client's, or the process's.
OwnedHandle OpenIdentity() {
  HANDLE token = nullptr;
  if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) &&
      !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) {
    token = nullptr;
  }
  return OwnedHandle(token);
}

// Either record begins with its SID.
bool IsOfIdentity(PSID owner, HANDLE token, TOKEN_INFORMATION_CLASS which) {
  static_assert(offsetof(TOKEN_USER, User.Sid) == 0 && offsetof(TOKEN_OWNER, Owner) == 0);
  alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> record{};
  DWORD size = 0;
  return GetTokenInformation(token, which, record.data(), static_cast<DWORD>(record.size()), &size) &&
         EqualSid(owner, reinterpret_cast<const TOKEN_OWNER*>(record.data())->Owner);
}

bool IsTrusted(PSID owner) {
  const auto is_owner = [&](const TrustedSid& sid) { return EqualSid(owner, const_cast<TrustedSid*>(&sid)) != FALSE; };
  if (std::ranges::any_of(kTrusted, is_owner)) return true;
  const OwnedHandle identity = OpenIdentity();
  // What the identity makes belongs to its owner, which for an administrator may be the group.
  return identity &&
         (IsOfIdentity(owner, identity.get(), TokenUser) || IsOfIdentity(owner, identity.get(), TokenOwner));
}

std::span<const WCHAR> LastComponent(const WCHAR* path) {
  const auto text = TextAt(path, MAX_PATH);
  const auto name = std::find(text.rbegin(), text.rend(), L'\\').base();
  return {name, text.end()};
}

// Whether what was opened lies in the folder under that name. Not every platform opens a link itself when asked to;
// that shows here too.
bool IsIn(const HeldFolder& folder, HANDLE opened, const WCHAR* path) {
  const auto name = LastComponent(path);
  const FinalPath found = FinalPathOf(opened);
  const auto found_text = TextIn(std::span<const WCHAR>(found));
  auto place = TextIn(std::span<const WCHAR>(folder.place));
  // A drive's root ends with the separator already.
  if (!place.empty() && place.back() == L'\\') place = place.first(place.size() - 1);
  const auto same = [](std::span<const WCHAR> left, std::span<const WCHAR> right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
  };
  return !place.empty() && found_text.size() == place.size() + 1 + name.size() &&
         same(found_text.first(place.size()), place) && found_text[place.size()] == L'\\' &&
         same(found_text.last(name.size()), name);
}

// A folder itself, no link to one.
bool IsFolder(HANDLE opened) {
  FILE_ATTRIBUTE_TAG_INFO tag{};
  return GetFileInformationByHandleEx(opened, FileAttributeTagInfo, &tag, sizeof tag) &&
         (tag.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !(tag.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT);
}

ResultCode OpenFailure() {
  const DWORD error = GetLastError();
  return error != ERROR_FILE_NOT_FOUND ? error : DWORD{ERROR_PATH_NOT_FOUND};
}

}  // namespace

ResultCode HoldSystemFolder(const WCHAR* path, HeldFolder& folder) {
  folder = {OpenFullPath(TextAt(path, MAX_PATH), GENERIC_READ, FILE_OPEN_FOR_BACKUP_INTENT)};
  if (!folder.handle) return OpenFailure();
  folder.place = FinalPathOf(folder.handle.get());
  return IsFolder(folder.handle.get()) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

ResultCode HoldFolder(const HeldFolder& parent, const WCHAR* path, Trust trust, HeldFolder& folder) {
  folder = {OpenIn(parent, path, GENERIC_READ)};
  if (!folder.handle) return OpenFailure();
  folder.place = FinalPathOf(folder.handle.get());
  if (!IsFolder(folder.handle.get())) return ERROR_ACCESS_DENIED;
  return trust == Trust::kItsOwner ? CheckOwner(folder.handle.get()) : ERROR_SUCCESS;
}

ResultCode CreateProtectedFolder(const HeldFolder& parent, const WCHAR* path) {
  const OwnedDescriptor descriptor = ProtectedDescriptor();
  if (!descriptor) return GetLastError();
  const OwnedHandle made = OpenBeneath(parent.handle.get(), LastComponent(path), DELETE, FILE_CREATE,
                                       FILE_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT, descriptor.get());
  if (!made) return GetLastError();
  if (IsIn(parent, made.get(), path)) return ERROR_SUCCESS;
  DeleteOpened(made.get());
  return ERROR_ACCESS_DENIED;
}

ResultCode ProtectFolder(const HeldFolder& folder) {
  const OwnedDescriptor descriptor = ProtectedDescriptor();
  if (!descriptor) return GetLastError();
  const OwnedHandle opened = OpenBeneath(folder.handle.get(), {}, WRITE_DAC, FILE_OPEN, FILE_OPEN_FOR_BACKUP_INTENT);
  if (!opened) return GetLastError();
  constexpr SECURITY_INFORMATION kList = DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
  return SetKernelObjectSecurity(opened.get(), kList, descriptor.get()) ? ERROR_SUCCESS : GetLastError();
}

ResultCode CheckOwner(HANDLE opened) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const DWORD error = GetSecurityInfo(opened, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr,
                                      nullptr, &descriptor);
  if (error != ERROR_SUCCESS) return error;
  const OwnedDescriptor owned(descriptor);
  return owner && IsTrusted(owner) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

OwnedHandle OpenIn(const HeldFolder& folder, const WCHAR* path, DWORD access, DWORD disposition) {
  OwnedHandle opened =
      OpenBeneath(folder.handle.get(), LastComponent(path), access, disposition == CREATE_NEW ? FILE_CREATE : FILE_OPEN,
                  FILE_OPEN_REPARSE_POINT | FILE_OPEN_FOR_BACKUP_INTENT);
  if (opened && !IsIn(folder, opened.get(), path)) {
    if (disposition == CREATE_NEW) DeleteOpened(opened.get());
    opened.reset();
    SetLastError(ERROR_ACCESS_DENIED);
  }
  return opened;
}

void DeleteNowOrLater(const HeldFolder& folder, const WCHAR* path) {
  if (const OwnedHandle opened = OpenIn(folder, path, DELETE); opened && DeleteOpened(opened.get())) return;
  // In use, or a folder that is not empty.
  if (OpenIn(folder, path, FILE_READ_ATTRIBUTES)) DeleteLater(path);
}

void DeleteLater(const WCHAR* path) {
  MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

}  // namespace r5lqz
