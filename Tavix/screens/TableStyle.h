#pragma once

class QTableView;

namespace tavix {

// The look every Tavix table shares: whole rows selected one at a time, no grid, no editing, no
// row numbers, and rows with room to breathe.
void styleTable(QTableView& table);

}  // namespace tavix
