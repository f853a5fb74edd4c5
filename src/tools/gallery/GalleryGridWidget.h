#pragma once

#include "session/gallery/GalleryModel.h"

#include <QPixmap>
#include <QTimer>
#include <QWidget>

#include <vector>

class QGridLayout;
class QLabel;

namespace Tessaly {

/// A page of tiles with their events' numbers beneath, in rows of equal length. As large as its tiles make it.
///
/// A page is prepared by slices of some milliseconds, then shown at once; until then the one before it stands. Labels
/// are made when they are first needed, keep their cell while the length of the rows stays, and live as long as the
/// widget.
class GalleryGridWidget : public QWidget {
    Q_OBJECT

public:
    explicit GalleryGridWidget(QWidget* parent = nullptr);

    /// Shows a page instead of the one before, and of one that is still being prepared. A page without tiles shows at
    /// once.
    /// @param pageSize  tiles that a full page has: decides how many stand in a row
    void showPage(const GalleryPage& page, int pageSize, bool showIds);
    /// Whether a page is still being prepared.
    bool isPreparing() const { return preparing_ != nullptr; }
    /// Tiles that are shown.
    int tileCount() const { return shown_; }
    /// The event whose tile or number lies there, -1 for none.
    int eventAt(const QPoint& position) const;

    /// Tiles in a row of a page: 5, 10 or 20.
    static int rowLength(int pageSize);

signals:
    /// A page without tiles too.
    void pageShown();
    void eventClicked(int event);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    struct Cell {
        QLabel* image = nullptr;
        QLabel* caption = nullptr;
        int rowLength = 0; ///< that decided its place in the layout; 0 before it has one
        int eventId = -1;
    };

    void prepareSlice();
    void prepareCell(std::size_t index);
    void present();
    void fillCell(Cell& cell, const GalleryTile& tile, const QPixmap& picture);

    QGridLayout* layout_;
    std::vector<Cell> cells_;
    QTimer slices_;
    GalleryPage preparing_;         ///< null if no page is on its way
    std::vector<QPixmap> pictures_; ///< of the tiles that are ready
    int rowLength_ = 10;
    bool showIds_ = true;
    int shown_ = 0;
    bool layoutStale_ = false; ///< cells have changed their places, sizes or visibility
    int pressedEvent_ = -1;
};

} // namespace Tessaly
