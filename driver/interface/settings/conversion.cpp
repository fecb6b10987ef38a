#include "settings/conversion.h"

#include <algorithm>
#include <cstring>

#include "diag/trace.h"

namespace r5lqz {
namespace {

struct PublicVersion {
  WORD public_size;
  WORD spec_version;
};

// The public part's sizes through the platform's history.
constexpr std::array<PublicVersion, 3> kPublicVersions{{{188, 0x0320}, {212, 0x0400}, {220, 0x0401}}};

// The spec version that belongs to a form: that of its size, or its own word for a size nobody knows. 0: unusable.
WORD SpecVersionOf(const RecordForm& form) {
  const auto known = std::find_if(kPublicVersions.begin(), kPublicVersions.end(), [&](const PublicVersion& version) {
    return version.public_size == form.public_size;
  });
  return known != kPublicVersions.end() ? known->spec_version : form.spec_version;
}

// The two records of a conversion with their forms as they came: two records may overlap, so that afterwards the
// input's words are anything.
struct Conversion {
  const DEVMODEW* in;
  DEVMODEW* out;
  RecordForm in_form;
  RecordForm out_form;
};

// What may be read of a record whose words have been.
DWORD BytesOf(const RecordForm& form) {
  return std::max<DWORD>(form.total(), kFormEnd);
}

// Of a record that is not there not even the title is written.
void DumpBoth(const Conversion& both) {
  if (both.in) DumpTitled("pdmIn:", both.in, BytesOf(both.in_form));
  if (both.out) DumpTitled("pdmOut:", both.out, BytesOf(both.out_form));
}

LONG Convert(const Conversion& both) {
  const auto& [in, out, in_form, out_words] = both;
  if (!in || SpecVersionOf(in_form) == 0 || !out) return -1;

  RecordForm out_form = out_words;
  out_form.spec_version = SpecVersionOf(out_form);
  // An output that is too small for its own form words could not keep them: its private part would lie over them.
  if (out_form.spec_version == 0 || out_form.public_size < kFormEnd) return -1;

  const std::size_t public_bytes = std::min(in_form.public_size, out_form.public_size);
  const std::size_t private_bytes = std::min(in_form.private_size, out_form.private_size);
  const auto* const from = reinterpret_cast<const std::byte*>(in);
  auto* const to = reinterpret_cast<std::byte*>(out);
  // Applications pass one buffer as input and output.
  std::memmove(to, from, public_bytes);
  PutForm(out, out_form);
  std::memmove(to + out_form.public_size, from + in_form.public_size, private_bytes);
  return static_cast<LONG>(public_bytes + private_bytes);
}

}  // namespace

LONG ConvertDevMode(const DEVMODEW* in, DEVMODEW* out) {
  return ConvertDevMode(in, FormOf(in), out, FormOf(out));
}

LONG ConvertDevMode(const DEVMODEW* in, const RecordForm& in_form, DEVMODEW* out, const RecordForm& out_form) {
  const TraceScope trace("ConvertDevMode");
  const Conversion both{in, out, in_form, out_form};
  DumpBoth(both);
  const LONG copied = Convert(both);
  if (copied >= 0) DumpBoth(both);
  return trace.ReturnCount(copied);
}

RecordForm OutputForm(const DEVMODEW* shape) {
  RecordForm form = kCurrentForm;
  if (!shape) return form;
  const RecordForm wanted = FormOf(shape);
  if (wanted.public_size < form.public_size) {
    form.spec_version = wanted.spec_version;
    form.public_size = wanted.public_size;
  }
  if (wanted.private_size < form.private_size) {
    form.driver_version = wanted.driver_version;
    form.private_size = wanted.private_size;
  }
  return form;
}

BOOL CopyDevModeToOutput(const DriverDevMode& working, const DEVMODEW* shape, DEVMODEW* out) {
  if (!shape) {
    std::memcpy(out, &working, sizeof working);
    return TRUE;
  }
  // The shape and the output may be one record, so it is read before anything is written.
  const RecordForm form = OutputForm(shape);
  if (form.total() < kFormEnd) return FALSE;
  PutForm(out, form);
  return ConvertDevMode(&working.dm_public, FormOf(&working.dm_public), out, form) > 0;
}

}  // namespace r5lqz
