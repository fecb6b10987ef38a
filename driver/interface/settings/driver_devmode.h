// One document's settings, DriverDevMode: the platform's public DEVMODEW followed by the driver's private part. The
// record is an interchange format: the spooler, applications and the rendering module keep and read it.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "labels/printer_label.h"

namespace r5lqz {

inline constexpr std::size_t kProfileNameSize = 260;  // characters with the terminator (MAX_PATH)

// The driver's private part: field order, widths and padding are binding. Texts are terminated within their arrays in
// records of our own; in a foreign record nothing is certain.
struct PrivateDevMode {
  DWORD signature;
  DWORD colorAdjust;  // 1 automatic, 0 application managed
  DWORD rendIntent;   // 0 perceptual, 1 relative, 2 absolute colorimetric, 3 saturation
  DWORD rotate180;
  DWORD mirrorImage;
  char labelName[kLabelNameSize];
  DWORD usePrivateCopies;
  SHORT copies;
  WORD padding1;
  LONG vertOffset;    // 1/1200 inch
  LONG horzOffset;    // 1/1200 inch
  SHORT dmPaperSize;  // the paper whose size the public width and length hold now
  WORD padding2;
  DWORD units;  // of the two texts below: 1 inches, else millimetres
  char width_string[kNumberTextSize];
  char length_string[kNumberTextSize];
  WCHAR colorProfile[kProfileNameSize];
};

struct DriverDevMode {
  DEVMODEW dm_public;
  PrivateDevMode dm_private;
};

static_assert(sizeof(DEVMODEW) == 220 && sizeof(PrivateDevMode) == 644 && sizeof(DriverDevMode) == 864,
              "a record has 220 bytes that are public and 644 of the driver's");

// Programs and the rendering module read the private part by these offsets and widths; nothing may move, and what is
// padding stays it: a word that came to mean something would be lost in every record that others have kept.
#define R5LQZ_HOLDS(member, offset, width)                                                                 \
  static_assert(offsetof(PrivateDevMode, member) == (offset) && sizeof(PrivateDevMode::member) == (width), \
                #member " lies at " #offset " of the private part and takes " #width " bytes")
R5LQZ_HOLDS(signature, 0, 4);
R5LQZ_HOLDS(colorAdjust, 4, 4);
R5LQZ_HOLDS(rendIntent, 8, 4);
R5LQZ_HOLDS(rotate180, 12, 4);
R5LQZ_HOLDS(mirrorImage, 16, 4);
R5LQZ_HOLDS(labelName, 20, 64);
R5LQZ_HOLDS(usePrivateCopies, 84, 4);
R5LQZ_HOLDS(copies, 88, 2);
R5LQZ_HOLDS(padding1, 90, 2);
R5LQZ_HOLDS(vertOffset, 92, 4);
R5LQZ_HOLDS(horzOffset, 96, 4);
R5LQZ_HOLDS(dmPaperSize, 100, 2);
R5LQZ_HOLDS(padding2, 102, 2);
R5LQZ_HOLDS(units, 104, 4);
R5LQZ_HOLDS(width_string, 108, 8);
R5LQZ_HOLDS(length_string, 116, 8);
R5LQZ_HOLDS(colorProfile, 124, 520);
#undef R5LQZ_HOLDS

inline constexpr WORD kPublicSize = sizeof(DEVMODEW);
inline constexpr WORD kPrivateSize = sizeof(PrivateDevMode);
inline constexpr LONG kRecordSize = sizeof(DriverDevMode);
inline constexpr WORD kSpecVersion = 0x0401;  // DM_SPECVERSION of the platform
inline constexpr WORD kDriverVersion = 0x0401;
inline constexpr DWORD kSignature = 0x18284000;

// The words by which a record tells its form: read from a record once, so that a record that changes while it is read
// cannot be believed twice.
struct RecordForm {
  WORD spec_version;
  WORD driver_version;
  WORD public_size;   // dmSize, bytes
  WORD private_size;  // dmDriverExtra, bytes

  constexpr DWORD total() const { return DWORD{public_size} + private_size; }
};

// The bytes of a record that hold its form; nobody can hand over a shorter one.
inline constexpr std::size_t kFormOffset = offsetof(DEVMODEW, dmSpecVersion);
inline constexpr std::size_t kFormEnd = kFormOffset + sizeof(RecordForm);
static_assert(kFormEnd == offsetof(DEVMODEW, dmFields) && offsetof(DEVMODEW, dmSize) == kFormOffset + 4);

// Reads and writes the form words of a record of any size, wherever it lies: a foreign record need not be a whole
// DEVMODEW, so it is touched as bytes. Of no record the words are zeros.
inline RecordForm FormOf(const DEVMODEW* record) {
  RecordForm form{};
  if (record) std::memcpy(&form, reinterpret_cast<const std::byte*>(record) + kFormOffset, sizeof form);
  return form;
}
inline void PutForm(DEVMODEW* record, const RecordForm& form) {
  std::memcpy(reinterpret_cast<std::byte*>(record) + kFormOffset, &form, sizeof form);
}

// The form that the driver's records have, and the older one that DrvConvertDevMode makes on request (300 bytes).
inline constexpr RecordForm kCurrentForm{kSpecVersion, kDriverVersion, kPublicSize, kPrivateSize};
inline constexpr RecordForm kOlderForm{0x0320, 0x0350, 188, 112};

inline constexpr WCHAR kCustomFormName[] = L"Custom";  // of the papers that are no label

// Dots per inch, best first; the second is the default.
inline constexpr std::array<SHORT, 3> kResolutions{600, 300, 150};
inline constexpr SHORT kDefaultResolution = kResolutions[1];

// Fills `record` with the driver's defaults. `device_name` (or none) is kept when it is shorter than 32 characters;
// `printer` (open, or none) gives the default colour profile. Always TRUE.
BOOL SetupDefaultDevMode(DriverDevMode& record, const WCHAR* device_name, HANDLE printer);

// For a record that holds what its words claim.
inline constexpr DWORD kAsItClaims = ~DWORD{0};

// Writes a record (which must be there) to the trace log, line by line; reads nothing beyond what it claims to hold,
// nor beyond its first `readable` bytes. Of a record whose words lie beyond those nothing is written.
void DumpDevMode(const DEVMODEW* record, DWORD readable = kAsItClaims);

// A line of text, then the record if there is one, when messages are traced.
void DumpTitled(const char* title, const DEVMODEW* record, DWORD readable = kAsItClaims);

}  // namespace r5lqz
