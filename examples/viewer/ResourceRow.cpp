#include "ResourceRow.h"

#include <QApplication>
#include <QBoxLayout>
#include <QProgressBar>
#include <QStyle>
#include <QTreeWidget>

namespace viewer {

namespace {

using State = ListedResource::State;

QString textOf(State state)
{
    switch (state) {
    case State::Looking:
        return ListedResource::tr("Looking for it");
    case State::Absent:
        return ListedResource::tr("Not here yet");
    case State::Waiting:
        return ListedResource::tr("Waiting");
    case State::Fetching:
        return ListedResource::tr("Fetching");
    case State::Here:
        return ListedResource::tr("In the cache");
    case State::Canceled:
        return ListedResource::tr("Canceled");
    case State::Failed:
        return ListedResource::tr("Failed");
    }
    return {};
}

QStyle::StandardPixmap pictureOf(State state)
{
    switch (state) {
    case State::Here:
        return QStyle::SP_DialogApplyButton;
    case State::Canceled:
        return QStyle::SP_DialogCancelButton;
    case State::Failed:
        return QStyle::SP_MessageBoxWarning;
    case State::Fetching:
        return QStyle::SP_ArrowDown;
    default:
        return QStyle::SP_FileIcon;
    }
}

} // namespace

ResourceRow::ResourceRow(QTreeWidget *list, std::unique_ptr<ListedResource> resource)
    : QTreeWidgetItem(list)
    , resource_(std::move(resource))
    , bar(new QProgressBar)
{
    list->setItemWidget(this, ProgressColumn, framed(bar));
    setText(NameColumn, resource_->name());
    setSizeHint(ProgressColumn, QSize(0, bar->sizeHint().height() + 8)); // visible or not
    QObject::connect(resource_.get(), &ListedResource::changed, bar, [this] { showState(); });
    showState();
}

QWidget *ResourceRow::framed(QProgressBar *bar)
{
    auto *frame = new QWidget;
    auto *layout = new QHBoxLayout(frame);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(bar);
    return frame;
}

void ResourceRow::showState()
{
    const State state = resource_->state();
    setText(StateColumn, textOf(state));
    setIcon(NameColumn, QApplication::style()->standardIcon(pictureOf(state)));
    bar->setValue(resource_->percent());
    bar->setVisible(state == State::Fetching || state == State::Here);
}

} // namespace viewer
