// A label stock, or the custom page, as the paper of a settings record.
#pragma once

#include "labels/printer_label.h"
#include "settings/driver_devmode.h"

namespace r5lqz {

// The page's width and length in tenths of a millimetre and its print offsets. Of a size the record
// holds the low 16 bits, also of one that the printer cannot have; one that is no number becomes the default's. An
// offset that is no number leaves its field as it was.
void TakePageSize(DriverDevMode& record, const PrinterLabel& page);

// The same, with the page's number, name and units and the texts of its width and length: the record's paper is then
// this page. dmFormName and dmFields stay as they are.
void TakePage(DriverDevMode& record, const PrinterLabel& page);

}  // namespace r5lqz
