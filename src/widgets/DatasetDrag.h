#pragma once

#include <optional>

class QAbstractItemView;
class QMimeData;

namespace Tessaly {

/// Mime type of a dataset row that is being dragged within list or tree.
inline constexpr char DatasetMimeType[] = "application/x-tessaly-dataset";

/// Lets rows be dragged from a view and dropped on it; always as copies, since the view itself moves nothing.
void prepareForDatasetDrags(QAbstractItemView* view);

/// What a drag of a dataset carries: its id as decimal text, also as plain text. The caller owns it.
QMimeData* datasetMimeData(int id);

/// The id that a drag carries; nullopt if it carries none.
std::optional<int> datasetIdOf(const QMimeData* data);

/// Row before which a dropped row goes.
/// @param itemRow    row under the pointer, -1 for none
/// @param lowerHalf  whether the pointer is below that item's vertical centre
int dropTargetRow(int itemRow, bool lowerHalf, int rowCount);

/// Whether taking a row out and putting it in before what stands at toRow changes the order.
bool moveChangesOrder(int fromRow, int toRow);

} // namespace Tessaly
