// Document settings for applications that want no window: the record's size, and validated records.
#pragma once

#include "base/printer_interface.h"

namespace r5lqz {

// Answers a document-properties call: the record's size (864) when only that is asked, 1 when done, -1 when the
// printer's settings could not be built. `cbOut` of the header becomes 864 in every case.
LONG CopyDocumentProperties(DOCUMENTPROPERTYHEADER& header);

}  // namespace r5lqz
