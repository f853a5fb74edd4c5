#include "session/DatasetTexts.h"

#include "SessionBuilder.h"

#include "core/DatasetEntry.h"
#include "session/FluorescenceSettings.h"

#include <gtest/gtest.h>

using namespace Tessaly;

namespace {

TEST(DatasetTextsTest, LabelAndStatus) {
    SessionBuilder builder;
    DatasetEntry& entry = builder.add({{"deform", {1, 2, 3}}});
    entry.displayName = "A <b> & %1";
    EXPECT_EQ(datasetLabelHtml(entry), "<b>A &lt;b&gt; &amp; %1</b> (3 events)");
    EXPECT_EQ(plotStatusText(entry, std::nullopt), "Loaded: A <b> & %1 (3 events)");

    entry.displayName = "Run";
    entry.metadata.setup = {{"flow rate", "0.060000"}, {"chip region", "reservoir"}};
    entry.metadata.experiment["run index"] = "12";
    EXPECT_EQ(datasetLabelHtml(entry), QStringLiteral("<b>Run</b> (Reservoir, 0.06 µL/s, #12, 3 events)"));
    EXPECT_EQ(plotStatusText(entry, 2),
              QStringLiteral("Loaded: Run (0.06 µL/s, Reservoir, #12, 2/3 events shown (66.7% pass filter))"));
    entry.metadata.experiment.clear();
    for (const auto& [text, shown] : std::vector<std::pair<std::string, QString>>{{"0.123456", "0.1235 µL/s, "},
                                                                                  {"12346", "1.235e+04 µL/s, "},
                                                                                  {"fast", ""},
                                                                                  {"0.1 µL/s", ""},
                                                                                  {"nan", ""}}) {
        entry.metadata.setup = {{"flow rate", text}, {"chip region", "Reservoir"}};
        EXPECT_EQ(datasetLabelHtml(entry), "<b>Run</b> (" + shown + "3 events)") << text;
    }

    entry.metadata.setup = {{"flow rate", "0.06"}, {"chip region", "reservoir"}};
    entry.displayName = QStringLiteral("a\r\nb<\u2028c\nd");
    EXPECT_TRUE(datasetLabelHtml(entry).startsWith("<b>a b&lt; c d</b> (")) << "line breaks become blanks";
    EXPECT_TRUE(plotStatusText(entry, 2).startsWith("Loaded: a b< c d ("));
    EXPECT_EQ(datasetNarrowLabels(entry),
              QStringList({QStringLiteral("<b>a b&lt; c d</b><br><small>Reservoir, 0.06 µL/s, 3 events</small>"),
                           QStringLiteral("<b>a b&lt; c d</b><br><small>0.06 µL/s, 3 events</small>"),
                           QStringLiteral("<b>a b&lt; c d</b><br><small>0.06 µL/s<br>3 events</small>")}));

    const DatasetEntry withoutFile;
    EXPECT_EQ(plotStatusText(withoutFile, 0), "Loaded:  (0/0 events shown (0.0% pass filter))");
}

TEST(FluorescenceSettingsTest, ReadsBothSpellings) {
    VQDMetadata metadata;
    metadata.fluorescence = {
        {"channel 1 name", "525/50"}, {"channel_3_name", "700/75"},   {"channel 2_name", "no"},
        {"channel count", "3"},       {"xchannel 4 name", "no"},      {"channel 99999999999 name", "no"},
        {"baseline 1 offset", "1.5"}, {"baseline_2_offset", "-3"},    {"baseline 3 offset", "dark"},
        {"sample rate", "fast"},      {"sample_rate", "312500.00000"}};
    const FluorescenceSettings settings = fluorescenceSettingsOf(metadata);
    EXPECT_EQ(settings.channelNames, (std::map<int, QString>{{1, "525/50"}, {3, "700/75"}}));
    EXPECT_EQ(settings.offsets, (std::map<int, double>{{1, 1.5}, {2, -3.0}}));
    EXPECT_EQ(settings.sampleRate, 312500.0);
    EXPECT_EQ(fluorescenceSettingsOf({}).sampleRate, 0.0);
}

} // namespace
