#pragma once

#include <QColor>
#include <qwt_plot.h>

#include <map>
#include <string>
#include <vector>

class QwtPlotCurve;

namespace Tessaly {

/// One fluorescence channel as the trace plot shows it.
struct TraceChannel {
    std::string traceName;   ///< the trace to show
    std::string channelName; ///< the channel's text from the metadata, such as "525/50"
    int channel = 0;         ///< its number
    QColor color;
    double offset = 0.0; ///< added to every sample
};

/// Approximate colour of light of a wavelength in nanometres; mid grey outside 380 to 780.
QColor wavelengthColor(int wavelength);

/// The wavelength that begins a channel's text ("525/50" or "525"), or 0 if the text begins with no number.
int channelWavelength(const QString& channelName);

/// The fluorescence time traces of one event, a curve for each channel in the colour of its wavelength. A legend
/// over the canvas names those that are shown.
class TracePlot : public QwtPlot {
    Q_OBJECT

public:
    explicit TracePlot(QWidget* parent = nullptr);
    ~TracePlot() override;

    /// Makes one hidden curve for each channel, replacing the earlier ones.
    /// @param channelNames   channel number to the channel's text
    /// @param offsets        channel number to the value added to its samples; 0 for a channel that is missing
    /// @param sampleRate     samples per second; 0 or less if unknown, then the time axis counts samples
    /// @param traceNames     the traces that the dataset has
    /// @param preferRefined  whether to show a channel's refined trace where the dataset has one
    void setupChannels(const std::map<int, QString>& channelNames, const std::map<int, double>& offsets,
                       double sampleRate, const std::vector<std::string>& traceNames, bool preferRefined);
    /// Shows the samples of one event, by trace name. A channel without samples is hidden; samples that are no finite
    /// number are left out.
    void setTraces(const std::map<std::string, std::vector<float>>& traces);
    /// Empties and hides all curves; the channels stay.
    void clearTraces();

    bool hasChannels() const { return !channels_.empty(); }
    const std::vector<TraceChannel>& channels() const { return channels_; }

private:
    double sampleRate_ = 0.0;
    std::vector<TraceChannel> channels_;
    std::vector<QwtPlotCurve*> curves_; // owned by the plot, same order as the channels
};

} // namespace Tessaly
