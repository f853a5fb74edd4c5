#pragma once

#include "io/VQDReader.h"
#include "session/Session.h"
#include "support/FilterRules.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tessaly {

using Columns = std::map<std::string, std::vector<double>>;

/// A session over small files that hold exactly the columns asked for. All datasets are ready.
class SessionBuilder {
public:
    Session session;

    /// Appends a dataset and returns it.
    DatasetEntry& add(const Columns& columns) {
        SampleFileOptions options;
        options.columns = columns;
        options.defaultColumns = options.images = options.masks = options.traces = false;
        DatasetEntry& entry = add(options);
        entry.metadata = {};
        return entry;
    }

    /// The same over a file with whatever is asked for, metadata included.
    DatasetEntry& add(const SampleFileOptions& options) {
        auto entry = session.newEntry();
        entry->filePath = folder_.file(std::to_string(entry->id) + ".vqd");
        writeSampleFile(entry->filePath, options);
        entry->reader = std::make_shared<VQDReader>();
        if (!entry->reader->open(entry->filePath)) {
            throw std::runtime_error("the sample file does not open");
        }
        entry->metadata = entry->reader->readMetadata();
        entry->displayName = QStringLiteral("dataset %1").arg(entry->id);
        entry->featuresLoaded = true;
        return session.append(std::move(entry));
    }

private:
    TemporaryFolder folder_;
};

} // namespace Tessaly
