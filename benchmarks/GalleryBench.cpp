// Pages of pictures: reading and cutting them out, showing them, and their automatic contrast.

#include "BenchFile.h"

#include "../tests/support/PlainHost.h"
#include "calc/GalleryTiles.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "tools/gallery/GalleryGridWidget.h"
#include "tools/gallery/ImageGalleryWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QScrollArea>
#include <QThreadPool>

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <time.h>
#include <vector>

namespace {

using namespace Tessaly;

constexpr hsize_t ChunkRows = 10;
constexpr int Cutout = 64;

struct StackSize {
    hsize_t events;
    hsize_t height;
    hsize_t width;
};
constexpr StackSize LargePictures{4000, 96, 256};
constexpr StackSize ManyPictures{100'000, 48, 96};

/// A file of pictures with faint noise in packed chunks; all chunks hold the same. Removed with the process.
class PictureFile {
public:
    explicit PictureFile(const StackSize& size) {
        initializeHdf5();
        path_ = (std::filesystem::temp_directory_path() /
                 ("tessaly-gallery-" + std::to_string(std::random_device()()) + ".vqd"))
                    .string();
        const hid_t file = checked(H5Fcreate(path_.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
        const hid_t group = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        writePictures(group, size);
        for (const char* name : {"pos_x", "pos_y", "size_x", "size_y"}) {
            const double value = name[0] == 's' ? 18.0 : name[4] == 'x' ? 40.0 : 16.0;
            writeColumn(group, name, std::vector<double>(size.events, value));
        }
        H5Gclose(group);
        checked(H5Fclose(file));
    }
    ~PictureFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;

    const std::string& path() const { return path_; }

private:
    static void writePictures(hid_t group, const StackSize& size) {
        const std::array<hsize_t, 3> extent{size.events, size.height, size.width};
        const std::array<hsize_t, 3> chunk{ChunkRows, size.height, size.width};
        const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
        checked(H5Pset_chunk(properties, 3, chunk.data()));
        checked(H5Pset_deflate(properties, 5));
        const hid_t space = checked(H5Screate_simple(3, extent.data(), nullptr));
        const hid_t dataset =
            checked(H5Dcreate2(group, "image", H5T_NATIVE_UINT8, space, H5P_DEFAULT, properties, H5P_DEFAULT));
        std::mt19937 random(3);
        std::vector<std::uint8_t> pixels(ChunkRows * size.height * size.width);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = static_cast<std::uint8_t>(100 + i % size.width / 8 + random() % 4);
        }
        const hid_t memory = checked(H5Screate_simple(3, chunk.data(), nullptr));
        std::array<hsize_t, 3> start{};
        checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, start.data(), nullptr, chunk.data(), nullptr));
        checked(H5Dwrite(dataset, H5T_NATIVE_UINT8, memory, space, H5P_DEFAULT, pixels.data()));
        checked(H5Dflush(dataset));
        hsize_t stored = 0;
        checked(H5Dget_chunk_storage_size(dataset, start.data(), &stored));
        std::vector<std::uint8_t> packed(stored);
        std::uint32_t filters = 0;
        checked(H5Dread_chunk(dataset, H5P_DEFAULT, start.data(), &filters, packed.data()));
        for (start[0] = ChunkRows; start[0] < size.events; start[0] += ChunkRows) {
            checked(H5Dwrite_chunk(dataset, H5P_DEFAULT, filters, start.data(), packed.size(), packed.data()));
        }
        H5Sclose(memory);
        H5Sclose(space);
        H5Dclose(dataset);
        H5Pclose(properties);
    }

    std::string path_;
};

const PictureFile& largePictures() {
    static const PictureFile made(LargePictures);
    return made;
}

const PictureFile& manyPictures() {
    static const PictureFile made(ManyPictures);
    return made;
}

std::shared_ptr<VQDReader> openReader(const PictureFile& file) {
    auto reader = std::make_shared<VQDReader>();
    if (!reader->open(file.path())) {
        throw std::runtime_error("the file does not open");
    }
    reader->cacheAllFeatures();
    return reader;
}

/// Every third event, as a filter leaves them.
std::vector<int> pageOf(int events) {
    std::vector<int> page(static_cast<std::size_t>(events));
    for (std::size_t i = 0; i < page.size(); ++i) {
        page[i] = static_cast<int>(3 * i);
    }
    return page;
}

GalleryRenderInput inputFor(const std::shared_ptr<VQDReader>& reader, std::vector<int> events) {
    GalleryRenderInput input;
    input.reader = reader;
    input.eventIds = std::move(events);
    input.cutoutW = input.cutoutH = Cutout;
    return input;
}

void pageTiles(benchmark::State& state) {
    const GalleryRenderInput input = inputFor(openReader(largePictures()), pageOf(400));
    for (auto _ : state) {
        benchmark::DoNotOptimize(renderGalleryPage(input).tiles.data());
    }
}

/// Reads pictures one by one as anybody would, with the dataset open all the time.
template <typename Take>
void readPlainly(hid_t dataset, const std::vector<int>& events, const StackSize& size, const Take& take) {
    const hid_t space = checked(H5Dget_space(dataset));
    const std::array<hsize_t, 3> count{1, size.height, size.width};
    const hid_t memory = checked(H5Screate_simple(3, count.data(), nullptr));
    std::vector<std::uint8_t> pixels(size.height * size.width);
    for (const int event : events) {
        const std::array<hsize_t, 3> start{static_cast<hsize_t>(event), 0, 0};
        checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, start.data(), nullptr, count.data(), nullptr));
        checked(H5Dread(dataset, H5T_NATIVE_UINT8, memory, space, H5P_DEFAULT, pixels.data()));
        take(pixels);
    }
    H5Sclose(memory);
    H5Sclose(space);
}

void pageTilesBaseline(benchmark::State& state) {
    const std::vector<int> events = pageOf(400);
    for (auto _ : state) {
        const hid_t file = checked(H5Fopen(largePictures().path().c_str(), H5F_ACC_RDONLY, H5P_DEFAULT));
        const hid_t dataset = checked(H5Dopen2(file, "events/image", H5P_DEFAULT));
        std::vector<std::vector<std::uint8_t>> tiles;
        readPlainly(dataset, events, LargePictures, [&tiles](const std::vector<std::uint8_t>& pixels) {
            std::vector<std::uint8_t>& tile = tiles.emplace_back(std::size_t{Cutout} * Cutout);
            for (std::size_t y = 0; y < Cutout; ++y) {
                std::copy_n(pixels.data() + (16 + y) * LargePictures.width + 86, Cutout, tile.data() + y * Cutout);
            }
        });
        benchmark::DoNotOptimize(tiles.data());
        H5Dclose(dataset);
        H5Fclose(file);
    }
}

void autoContrast(benchmark::State& state) {
    const std::shared_ptr<VQDReader> reader = openReader(manyPictures());
    std::vector<int> all(ManyPictures.events);
    std::iota(all.begin(), all.end(), 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(findAutoContrast(*reader, all, 0));
    }
    state.counters["events"] = static_cast<double>(all.size());
}

void autoContrastBaseline(benchmark::State& state) {
    std::vector<int> all(ManyPictures.events);
    std::iota(all.begin(), all.end(), 0);
    const std::vector<int> sample = contrastSample(all);
    for (auto _ : state) {
        const hid_t file = checked(H5Fopen(manyPictures().path().c_str(), H5F_ACC_RDONLY, H5P_DEFAULT));
        const hid_t dataset = checked(H5Dopen2(file, "events/image", H5P_DEFAULT));
        readPlainly(dataset, sample, ManyPictures,
                    [](const std::vector<std::uint8_t>& pixels) { benchmark::DoNotOptimize(pixels.data()); });
        H5Dclose(dataset);
        H5Fclose(file);
    }
    state.counters["events"] = static_cast<double>(all.size());
}

/// Time that this thread has computed: what others do on the machine doesn't count.
double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// A gallery on the screen.
class ShownGallery {
public:
    ShownGallery() {
        auto entry = session_.newEntry();
        entry->reader = openReader(largePictures());
        entry->featuresLoaded = true;
        session_.setActive(session_.append(std::move(entry)).id);
        window_ = std::make_unique<ImageGalleryWindow>(session_, host_);
        window_->show();
        grid_ = window_->findChild<GalleryGridWidget*>("galleryGrid");
        waitForPage();
    }
    ~ShownGallery() {
        window_->close();
        window_.reset();
        QThreadPool::globalInstance()->waitForDone();
    }
    ShownGallery(const ShownGallery&) = delete;
    ShownGallery& operator=(const ShownGallery&) = delete;

    ImageGalleryWindow& window() { return *window_; }
    /// Until the page asked for is painted. Returns the longest turn of the event loop in seconds.
    double waitForPage() {
        bool shown = false;
        const auto connection =
            QObject::connect(grid_, &GalleryGridWidget::pageShown, grid_, [&shown] { shown = true; });
        double longest = 0.0;
        const auto turn = [&longest](QEventLoop::ProcessEventsFlags flags) {
            const double before = threadSeconds();
            QApplication::processEvents(flags);
            longest = std::max(longest, threadSeconds() - before);
        };
        while (!shown) {
            turn(QEventLoop::WaitForMoreEvents); // as a program at rest: the cores are for the page
        }
        turn(QEventLoop::AllEvents); // is painted
        QObject::disconnect(connection);
        return longest;
    }

private:
    Session session_;
    PlainHost host_;
    std::unique_ptr<ImageGalleryWindow> window_;
    GalleryGridWidget* grid_ = nullptr;
};

void pageTurn(benchmark::State& state) {
    ShownGallery gallery;
    bool forward = false;
    for (auto _ : state) {
        forward = !forward;
        forward ? gallery.window().onNextPage() : gallery.window().onPrevPage();
        gallery.waitForPage();
    }
}

void pageTurnBaseline(benchmark::State& state) {
    const std::shared_ptr<VQDReader> reader = openReader(largePictures());
    QScrollArea area;
    auto* grid = new QWidget;
    auto* layout = new QGridLayout(grid);
    std::vector<QLabel*> labels;
    for (int i = 0; i < 100; ++i) {
        auto* label = new QLabel;
        label->setFixedSize(Cutout, Cutout);
        layout->addWidget(label, i / 10, i % 10);
        labels.push_back(label);
    }
    area.setWidget(grid);
    area.resize(1100, 800);
    area.show();
    QApplication::processEvents();
    std::vector<int> events(100);
    int first = 0;
    for (auto _ : state) {
        first = 100 - first;
        std::iota(events.begin(), events.end(), first);
        const GalleryRenderResult page = renderGalleryPage(inputFor(reader, events));
        for (std::size_t i = 0; i < labels.size(); ++i) {
            const QImage image(page.tiles[i].pixels.data(), Cutout, Cutout, Cutout, QImage::Format_Grayscale8);
            labels[i]->setPixmap(QPixmap::fromImage(image));
        }
        QApplication::processEvents();
    }
}

/// Page sizes changed to and fro, and a page of 400 turned: the longest time for which the window stands still.
void longestTurn(benchmark::State& state) {
    ShownGallery gallery;
    auto* sizes = gallery.window().findChild<QComboBox*>("pageSizeCombo");
    for (auto _ : state) {
        double longest = 0.0;
        for (const int row : {0, 2}) {
            sizes->setCurrentIndex(row);
            longest = std::max(longest, gallery.waitForPage());
        }
        gallery.window().onNextPage();
        longest = std::max(longest, gallery.waitForPage());
        state.SetIterationTime(longest);
    }
}

BENCHMARK(pageTiles)->Name("gallery_page_of_400")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(pageTilesBaseline)->Name("gallery_page_of_400/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(pageTurn)->Name("gallery_page_turn")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(pageTurnBaseline)->Name("gallery_page_turn/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(autoContrast)->Name("gallery_auto_contrast")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(autoContrastBaseline)->Name("gallery_auto_contrast/baseline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(longestTurn)->Name("gallery_longest_turn")->Unit(benchmark::kMillisecond)->UseManualTime();

} // namespace
