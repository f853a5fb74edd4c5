#include "Tour.h"
#include "TourSteps.h"

#include "session/Session.h"
#include "tools/gallery/GalleryGridWidget.h"
#include "tools/gallery/ImageGalleryWindow.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace Tessaly {

namespace {

ImageGalleryWindow& gallery(Tour& tour) {
    const auto& open = tour.window().toolWindows().imageGalleries();
    Tour::expect(!open.empty(), "A gallery is open.");
    return *open.back();
}

template <typename T>
T* part(Tour& tour, const char* name) {
    T* found = gallery(tour).findChild<T*>(name);
    Tour::expect(found != nullptr, QStringLiteral("The gallery has a part \"%1\".").arg(QLatin1String(name)));
    return found;
}

void waitForPage(Tour& tour, int tiles) {
    auto* grid = part<GalleryGridWidget>(tour, "galleryGrid");
    const auto* status = part<QLabel>(tour, "galleryStatusLabel");
    Tour::waitFor(
        [=] {
            return !grid->isPreparing() && grid->tileCount() == tiles && status->text().contains("events · cutout");
        },
        QStringLiteral("A page of %1 pictures is shown.").arg(tiles));
    Tour::settle();
}

void open(Tour& tour) {
    tour.clickMenuEntry(tour.openMenu("Tool Windows"), "New Image Gallery...");
    waitForPage(tour, 100);
    Tour::expect(part<QLabel>(tour, "galleryNameLabel")->text() == tour.window().session().active()->displayName,
                 "The gallery shows the active dataset.");
    tour.pictureOf(gallery(tour), "gallery");
}

void turnPages(Tour& tour) {
    tour.click(part<QPushButton>(tour, "nextPageButton"));
    waitForPage(tour, 100);
    QTest::keyClick(part<QScrollArea>(tour, "galleryScrollArea"), Qt::Key_PageDown);
    waitForPage(tour, 100);
    Tour::expect(part<QLabel>(tour, "pageLabel")->text().startsWith("3 / "), "Buttons and keys turn pages.");
    tour.pictureOf(gallery(tour), "gallery-third-page");
    tour.click(part<QPushButton>(tour, "prevPageButton"));
    waitForPage(tour, 100);
}

void changePageSize(Tour& tour) {
    auto* sizes = part<QComboBox>(tour, "pageSizeCombo");
    tour.choose(sizes, 0);
    waitForPage(tour, 25);
    tour.pictureOf(gallery(tour), "gallery-25");
    tour.choose(sizes, 2);
    waitForPage(tour, 400);
    tour.pictureOf(gallery(tour), "gallery-400");
    tour.choose(sizes, 1);
    waitForPage(tour, 100);
}

void changeContrast(Tour& tour) {
    auto* modes = part<QComboBox>(tour, "contrastCombo");
    auto* lo = part<QSpinBox>(tour, "contrastLoSpinBox");
    auto* hi = part<QSpinBox>(tour, "contrastHiSpinBox");
    tour.choose(modes, 1);
    waitForPage(tour, 100);
    Tour::expect(lo->value() > 0 && hi->value() > lo->value() && !lo->isEnabled(), "The limits found are shown.");
    tour.pictureOf(gallery(tour), "gallery-auto-contrast");
    tour.choose(modes, 2);
    tour.typeInto(lo, QString::number(lo->value() + 20));
    waitForPage(tour, 100);
    tour.pictureOf(gallery(tour), "gallery-manual-contrast");
    tour.typeInto(lo, "200");
    tour.typeInto(hi, "100");
    Tour::expect(hi->value() == 201, "The upper limit stays above the lower one.");
    tour.choose(modes, 0);
    waitForPage(tour, 100);
}

void changeCutout(Tour& tour) {
    tour.click(part<QCheckBox>(tour, "showIdsCheckBox"));
    tour.click(part<QCheckBox>(tour, "autoCutoutCheckBox"));
    tour.typeInto(part<QSpinBox>(tour, "cutoutWidthSpinBox"), "120");
    tour.typeInto(part<QSpinBox>(tour, "cutoutHeightSpinBox"), "40");
    waitForPage(tour, 100);
    tour.pictureOf(gallery(tour), "gallery-own-cutout");
    tour.click(part<QCheckBox>(tour, "autoCutoutCheckBox"));
    tour.click(part<QCheckBox>(tour, "showIdsCheckBox"));
    waitForPage(tour, 100);
}

void selectEvent(Tour& tour) {
    auto* grid = part<GalleryGridWidget>(tour, "galleryGrid");
    const QPoint place = grid->childrenRect().topLeft() + QPoint(150, 20);
    const int event = grid->eventAt(place);
    Tour::expect(event >= 0, "There is a picture.");
    QTest::mouseClick(grid, Qt::LeftButton, {}, place);
    Tour::expect(tour.panels().eventNumber->value() == event, "A click on a picture selects its event.");
}

void gateAndPage(Tour& tour) {
    Session& session = tour.window().session();
    const std::size_t all = gallery(tour).state().eventIds.size();
    const int group = tour.window().addFilterGroup("Large cells");
    FilterRule rule;
    rule.featureName = "area_um";
    rule.minValue = 70.0;
    rule.maxValue = 200.0;
    tour.window().addRuleToGroup(group, rule);
    tour.window().setGroupEnabled(session.activeId(), group, true);
    Tour::waitFor([&] { return gallery(tour).state().eventIds.size() < all; }, "The gallery follows the filters.");
    waitForPage(tour, 100);
    Tour::expect(gallery(tour).state().page == 0, "It begins anew with the first page.");
    tour.pictureOf(gallery(tour), "gallery-of-gated-cells");
}

void exportPage(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("page.png");
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
        if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        }
    });
    user.start(50);
    tour.click(part<QPushButton>(tour, "exportPageButton"));
    QLabel page;
    page.setPixmap(QPixmap(path));
    Tour::expect(page.pixmap().size() == part<GalleryGridWidget>(tour, "galleryGrid")->size(),
                 "The page is written as large as it is shown.");
    page.setFixedSize(page.pixmap().size());
    page.show();
    Tour::settle();
    tour.pictureOf(page, "gallery-page-in-a-file");
}

void smallAndFollowing(Tour& tour) {
    Session& session = tour.window().session();
    ImageGalleryWindow& window = gallery(tour);
    tour.click(part<QCheckBox>(tour, "followActiveCheckBox"));
    const int before = session.activeId();
    const int other = session.datasetAt(session.activeRow() == 0 ? 1 : 0)->id;
    session.setActive(other);
    Tour::expect(window.state().datasetId == other, "The gallery follows the active dataset.");
    window.resize(window.minimumSizeHint());
    waitForPage(tour, 100);
    tour.pictureOf(window, "gallery-small");
    session.setActive(before);
}

void closeGallery(Tour& tour) {
    gallery(tour).close();
    Tour::settle();
    Tour::expect(tour.window().toolWindows().imageGalleries().empty(), "The window is gone when it is closed.");
    while (!tour.window().filterGroups().empty()) {
        tour.window().removeFilterGroup(tour.window().filterGroups().back()->id);
    }
}

} // namespace

std::vector<TourStep> gallerySteps() {
    return {{"gallery-opened", open},
            {"gallery-pages", turnPages},
            {"gallery-page-sizes", changePageSize},
            {"gallery-contrast", changeContrast},
            {"gallery-cutouts", changeCutout},
            {"gallery-event-selected", selectEvent},
            {"gallery-gated", gateAndPage},
            {"gallery-page-exported", exportPage},
            {"gallery-follows", smallAndFollowing},
            {"gallery-closed", closeGallery}};
}

} // namespace Tessaly
