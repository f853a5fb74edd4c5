#pragma once

#include "session/compare/Categories.h"

#include <QColor>
#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace Tessaly {

class Session;

/// A category with its members: name, colour, and a list that takes datasets by drag or by choice.
class CategoryPanel : public QWidget {
    Q_OBJECT

public:
    CategoryPanel(Session& session, const Category& category, QWidget* parent = nullptr);

    /// As it is now, with the name as typed.
    Category category() const;
    const std::vector<CategoryEntry>& entries() const { return entries_; }

    /// Shows the members' IDs, the first or all three. They can be set then.
    void showIds(bool visible, bool technical);
    /// Takes IDs from the members' names and tells how many had one. Emits nothing.
    std::size_t detectAllIds();
    /// A dataset has another name. Emits nothing.
    void renameDataset(int id, const QString& name);
    /// A dataset is gone. Emits nothing; returns whether it was a member.
    bool removeDataset(int id);

signals:
    void changed();
    void deleteRequested(CategoryPanel* panel);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void onRemoveSelected();
    void onClearAll();
    void onAddDatasets();

private:
    QWidget* makeHead();
    void makeList();
    QWidget* makeButtons();
    bool mayAdd(int id) const;
    void add(const std::vector<int>& ids);
    void rebuildList();
    void onSelectionChanged();
    void chooseColor();
    void showColor();
    /// Names the controls for those who don't see which panel they are in.
    void nameControls();
    void showMenu(const QPoint& position);
    /// Asks for the IDs of a member.
    void askIds(int id);
    bool askNumber(CategoryEntry& entry);
    bool askAllNumbers(CategoryEntry& entry);
    void setDropMark(bool shown);

    Session& session_;
    QLineEdit* name_ = nullptr;
    QPushButton* colorButton_ = nullptr;
    QLabel* count_ = nullptr;
    QListWidget* list_ = nullptr;
    QPushButton* delete_ = nullptr; ///< null if the category stays
    QPushButton* addDatasets_ = nullptr;
    QPushButton* removeSelected_ = nullptr;
    QPushButton* clearAll_ = nullptr;
    QColor color_;
    bool removable_;
    bool idsVisible_ = false;
    bool technicalIds_ = false;
    bool dropMark_ = false; ///< a dataset is held over the panel that it would take
    std::vector<CategoryEntry> entries_;
};

} // namespace Tessaly
