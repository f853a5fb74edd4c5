#pragma once

#include "session/gallery/GalleryModel.h"

#include <QMainWindow>

class QCheckBox;
class QComboBox;
class QLayout;
class QPushButton;
class QScrollArea;
class QSpinBox;

namespace Tessaly {

class ElidedLabel;
class EmptyHint;
class GalleryGridWidget;
class Session;
class SessionHost;

/// The pictures of one dataset's events that pass its filters, page by page, each cut out around its cell. Begins with
/// the active dataset. A click on a picture selects its event in the main window if the dataset is the active one.
///
/// Keys: the arrows and Page Up, Page Down turn pages; with Ctrl the arrows scroll.
class ImageGalleryWindow : public QMainWindow {
    Q_OBJECT

public:
    /// Both outlive the window, which has no parent.
    ImageGalleryWindow(Session& session, SessionHost& host);

    /// What is shown and how.
    const GalleryState& state() const { return model_.state(); }

signals:
    void windowClosed(ImageGalleryWindow* self);

public slots:
    void onPrevPage();
    void onNextPage();
    void onPageSizeChanged(int comboIdx);
    void onAutoCutoutToggled(bool checked);
    void onCutoutSpinChanged();
    void onMarginChanged(int v);
    void onContrastModeChanged(int comboIdx);
    void onContrastValuesChanged();
    void onFollowActiveToggled(bool checked);
    void onShowIdsToggled(bool checked);
    void onExportPagePng();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildLayout();
    QLayout* makePagingRow();
    QLayout* makeShowRow();
    QLayout* makeCutoutRow();
    QLayout* makeContrastRow();
    void nameControls();
    void connectControls();
    void connectModel();
    void showName();
    void showState();
    void showPage(const GalleryPage& page);
    void showHint();
    void enableControls();
    void turnPage(int by);
    void selectEvent(int event);

    Session& session_;
    SessionHost& host_;
    GalleryModel model_;
    ElidedLabel* name_;
    QPushButton* prevButton_;
    QPushButton* nextButton_;
    QLabel* pageLabel_;
    QComboBox* pageSizeCombo_;
    QCheckBox* showIdsCheck_;
    QCheckBox* followActiveCheck_;
    QCheckBox* autoCutoutCheck_;
    QSpinBox* cutoutWSpin_;
    QSpinBox* cutoutHSpin_;
    QSpinBox* marginSpin_;
    QComboBox* contrastCombo_;
    QSpinBox* loSpin_;
    QSpinBox* hiSpin_;
    QPushButton* exportButton_;
    QScrollArea* scrollArea_;
    GalleryGridWidget* grid_; ///< in the scroll area
    EmptyHint* hint_;         ///< over it
    QLabel* status_;
    int gridPage_ = 0; ///< number of the page in the grid, from 0
};

} // namespace Tessaly
