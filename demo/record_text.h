// Settings records of any size as readable fields.
#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "settings/driver_devmode.h"

namespace demo {

/// One setting: its label and its text in a record; "-" where the record is too short for it or, for the driver's own
/// settings, belongs to another driver.
struct Field {
  const char* label;
  std::string (*text)(const DEVMODEW& record);
};

std::span<const Field> Fields();

}  // namespace demo
