#pragma once

#include <QTreeWidget>

namespace Tessaly {

struct VQDMetadata;

/// Content of the "Metadata" dock: the file's settings by section.
class MetadataPanel : public QTreeWidget {
    Q_OBJECT

public:
    explicit MetadataPanel(QWidget* parent = nullptr);

    bool isEmpty() const { return topLevelItemCount() == 0; }
    void showMetadata(const VQDMetadata& metadata);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void fitColumns();
};

} // namespace Tessaly
