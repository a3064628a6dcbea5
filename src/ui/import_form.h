#pragma once

#include "config/import_export.h"

#include <optional>
#include <vector>

class QWidget;

namespace quenix {

// Shows ImportForm modally: one checkable row per section with its description. The indices
// of the ticked rows when the Import/Export button is pressed, else nullopt.
std::optional<std::vector<int>> ShowImportForm(ImportExport::Mode mode, const std::vector<ImportExport::Row>& rows,
                                               QWidget* parent);

} // namespace quenix
