#pragma once

#include "ListedResource.h"

#include <QTreeWidgetItem>

QT_BEGIN_NAMESPACE
class QProgressBar;
class QWidget;
QT_END_NAMESPACE

namespace viewer {

/// Shows one resource in a list that has the columns below, and owns it.
class ResourceRow : public QTreeWidgetItem
{
public:
    enum Column { NameColumn, StateColumn, ProgressColumn, ColumnCount };

    ResourceRow(QTreeWidget *list, std::unique_ptr<ListedResource> resource);

    ListedResource *resource() const { return resource_.get(); }

private:
    static QWidget *framed(QProgressBar *bar);
    void showState();

    const std::unique_ptr<ListedResource> resource_;
    QProgressBar *const bar; // the list's
};

} // namespace viewer
