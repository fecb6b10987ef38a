// Settings records of any size as readable fields.
#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "settings/driver_devmode.h"

namespace demo {

/// Text of a setting that a record does not have.
inline constexpr char kAbsent[] = "-";

/// One setting: its label, the dmFields bit by which a record asks for it (0: it has none), and its text in a record;
/// kAbsent where the record is too short for it or, for the driver's own settings, belongs to another driver.
struct Field {
  const char* label;
  DWORD bit;
  std::string (*text)(const DEVMODEW& record);
};

std::span<const Field> Fields();

}  // namespace demo
