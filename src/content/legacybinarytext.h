#pragma once

#include <QString>
#include <optional>

namespace Nomly {

class CompoundFile;

// The body text of a legacy Word document, through its piece table: main
// document text only, field instructions left out, cell and paragraph marks
// as line breaks. None for an encrypted or malformed file.
std::optional<QString> legacyWordText(const CompoundFile &file);

// The text records of a legacy presentation in stream order (slide titles
// and bodies, notes and masters left out), repeats dropped.
std::optional<QString> legacyPresentationText(const CompoundFile &file);

} // namespace Nomly
