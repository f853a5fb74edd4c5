#pragma once

#include "calc/GalleryTiles.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <vector>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// Where the grey values that become black and white come from.
enum class GalleryContrast { FullRange = 0, Auto = 1, Manual = 2 };

/// What a gallery shows and how.
struct GalleryState {
    int datasetId = -1;
    QString datasetName;
    std::vector<int> eventIds; ///< those that pass the effective filter, rising
    double pixelSizeUm = 0.34; ///< micrometres per pixel
    bool autoCutout = true;    ///< cut-out size from the data
    int cutoutW = 0;           ///< pixels
    int cutoutH = 0;
    int marginPx = 5;
    int pageSize = 100; ///< events per page
    int page = 0;       ///< from 0
    bool followActive = false;
    bool showIds = true;
    GalleryContrast contrastMode = GalleryContrast::FullRange;
    int manualLo = 0;
    int manualHi = 255;
    bool autoValid = false; ///< autoLo and autoHi are those of the present events
    int autoLo = 0;
    int autoHi = 255;
    int renderGeneration = 0;     ///< counts requests for a page
    bool rerenderPending = false; ///< one came while a page was being made
    int autoGeneration = 0;       ///< counts automatic contrasts and what makes one stale
    bool autoRunning = false;
};

/// A page that was made, for as long as somebody shows it.
using GalleryPage = std::shared_ptr<const GalleryRenderResult>;

/// The events of one dataset as pages of tiles: which ones, of what size, with what contrast. Follows the session's
/// notices. Pages and contrasts are found on the global thread pool, one of each at a time; a late result tells by its
/// generation that it is stale, and is dropped. Everything here belongs to the interface thread.
class GalleryModel : public QObject {
    Q_OBJECT

public:
    /// Shows the active dataset. @param session  outlives the model
    explicit GalleryModel(Session& session, QObject* parent = nullptr);
    ~GalleryModel() override;

    const GalleryState& state() const { return state_; }
    int pageCount() const;
    /// Whether a page is being made or a contrast is being found for one.
    bool isBusy() const { return rendering_ || waitingForContrast_; }
    /// Whether the dataset has pictures; true without a dataset.
    bool hasImages() const;
    /// The dataset's name, or in brackets why there is none.
    QString nameText() const;
    /// "page / pages", from 1.
    QString pageText() const;
    QString statusText() const;

    /// Shows another dataset from its first page on, or the same one anew.
    void setDataset(int id);
    /// Shows a page; outside of the range the nearest one.
    void setPage(int page);
    void setPageSize(int events);
    void setAutoCutout(bool on);
    /// Sets the size of the cut-outs; only while it isn't automatic.
    void setCutout(int width, int height);
    void setMargin(int pixels);
    /// @param lo, hi  become the manual limits if the mode is Manual
    void setContrastMode(GalleryContrast mode, int lo, int hi);
    void setManualContrast(int lo, int hi);
    void setFollowActive(bool on);
    void setShowIds(bool on);

    /// Waits for the page that is being made, and does nothing more from then on.
    void stop();

signals:
    /// Name and identity of what is shown have changed.
    void datasetShown();
    /// The dataset was removed from the session.
    void datasetGone();
    /// Texts, page or sizes have changed.
    void changed();
    /// The automatic contrast was found.
    void autoContrastFound();
    /// A page is to be shown; one without tiles if there is nothing to show.
    void pageMade(const Tessaly::GalleryPage& page);

private slots:
    void onPageRenderFinished();
    void onAutoContrastFinished();

private:
    void listenToNews();
    DatasetEntry* dataset() const;
    std::shared_ptr<VQDReader> usableReader() const;
    std::vector<int> passingEvents() const;
    void refreshAfterNews();
    void refreshEvents(std::vector<int> events);
    void updateCutout();
    void requestRender();
    bool startRender(const std::shared_ptr<VQDReader>& reader);
    void startAutoContrastIfNeeded(const std::shared_ptr<VQDReader>& reader);
    void emptyPage();

    Session& session_;
    GalleryState state_;
    QFutureWatcher<GalleryRenderResult> renderWatcher_;
    QFutureWatcher<GalleryAutoContrastResult> autoWatcher_;
    QTimer newsTimer_;           ///< many changes in one turn of the event loop are followed once
    bool filterChanged_ = false; ///< among the news
    bool rendering_ = false;     ///< a page is under way or its end hasn't been heard of
    bool waitingForContrast_ = false;
    bool tooLarge_ = false;
    bool stopped_ = false;
};

} // namespace Tessaly
