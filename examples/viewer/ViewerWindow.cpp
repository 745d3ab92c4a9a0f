#include "ViewerWindow.h"

#include "FetchPrompt.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "ResourceRow.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QCloseEvent>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

#include <algorithm>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace viewer {

namespace {

bool isFetchable(const ResourceRow *row)
{
    return !row->resource()->isBusy() && row->resource()->state() != ListedResource::State::Here;
}

bool isBusy(const ResourceRow *row)
{
    return row->resource()->isBusy();
}

QString detailsOf(const ListedResource &resource)
{
    // The library's own texts name the resource.
    if (resource.message().contains(resource.source()))
        return resource.message();
    return resource.source() + u'\n' + resource.message();
}

void setMode(bool asksFirst)
{
    ResourceManager::setRetrieveMode(asksFirst ? ResourceHandler::Prompt
                                               : ResourceHandler::NoPrompt);
}

} // namespace

ViewerWindow::ViewerWindow(QWidget *parent)
    : QWidget(parent)
{
    setWindowTitle(tr("Resources"));
    details = new QLabel;
    details->setObjectName(u"details"_s);
    details->setTextFormat(Qt::PlainText); // whatever a reference is made of
    details->setWordWrap(true);
    details->setTextInteractionFlags(Qt::TextSelectableByMouse);
    details->setAlignment(Qt::AlignTop);
    details->setMinimumHeight(2 * fontMetrics().lineSpacing());

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(makeEntry());
    layout->addWidget(makeList(), 1);
    layout->addWidget(details);
    layout->addLayout(makeActions());
    resize(720, 340);
    showState();

    // The manager works on with a cache that is closed: say so, rather than let each fetch fail.
    if (!ResourceManager::cache()->isOpen())
        details->setText(tr("The cache cannot be opened: nothing can be fetched."));
}

QLayout *ViewerWindow::makeEntry()
{
    entry = new QLineEdit;
    entry->setObjectName(u"reference"_s);
    entry->setPlaceholderText(tr("https://host/run.mzML or share:/folder/run.d"));
    connect(entry, &QLineEdit::returnPressed, this, &ViewerWindow::addTyped);

    auto *layout = new QHBoxLayout;
    layout->addWidget(entry, 1);
    layout->addWidget(makeButton(u"add"_s, tr("Add"), &ViewerWindow::addTyped));
    return layout;
}

QTreeWidget *ViewerWindow::makeList()
{
    list = new QTreeWidget;
    list->setObjectName(u"list"_s);
    list->setColumnCount(ResourceRow::ColumnCount);
    list->setHeaderLabels({ tr("Resource"), tr("State"), tr("Progress") });
    list->setRootIsDecorated(false);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setTextElideMode(Qt::ElideMiddle);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(ResourceRow::NameColumn, QHeaderView::Stretch);
    list->header()->resizeSection(ResourceRow::StateColumn, 130);
    list->header()->resizeSection(ResourceRow::ProgressColumn, 200);
    connect(list, &QTreeWidget::itemSelectionChanged, this, &ViewerWindow::showState);
    return list;
}

QLayout *ViewerWindow::makeActions()
{
    askFirst = new QCheckBox(tr("Ask before fetching"));
    askFirst->setObjectName(u"ask"_s);
    connect(askFirst, &QCheckBox::toggled, this, &setMode);
    askFirst->setChecked(true);
    fetchButton = makeButton(u"fetch"_s, tr("Fetch"), &ViewerWindow::fetchSelected);
    cancelButton = makeButton(u"cancel"_s, tr("Cancel"), &ViewerWindow::cancelSelected);
    removeButton = makeButton(u"remove"_s, tr("Remove"), &ViewerWindow::removeSelected);

    auto *layout = new QHBoxLayout;
    layout->addWidget(askFirst);
    layout->addStretch(1);
    layout->addWidget(removeButton);
    layout->addWidget(cancelButton);
    layout->addWidget(fetchButton);
    return layout;
}

QPushButton *ViewerWindow::makeButton(const QString &name, const QString &text,
                                      void (ViewerWindow::*action)())
{
    auto *button = new QPushButton(text);
    button->setObjectName(name);
    connect(button, &QPushButton::clicked, this, action);
    return button;
}

void ViewerWindow::add(const QString &reference)
{
    auto resource = ListedResource::make(reference);
    if (!resource.hasValue()) {
        details->setText(resource.error().errorMessage());
        return;
    }
    list->clearSelection();
    for (ResourceRow *row : rows()) {
        if (row->resource()->key() == resource.value()->key()) {
            row->setSelected(true);
            return;
        }
    }
    auto *row = new ResourceRow(list, std::move(resource).value());
    connect(row->resource(), &ListedResource::changed, this, &ViewerWindow::showState);
    row->setSelected(true);
    row->resource()->look();
}

void ViewerWindow::addTyped()
{
    const QString reference = entry->text().trimmed();
    if (reference.isEmpty())
        return;
    entry->clear();
    add(reference);
}

void ViewerWindow::fetchSelected()
{
    const QList<ResourceRow *> selected = selectedRows();
    FetchPrompt prompt(this, selected.size());
    for (ResourceRow *row : selected) {
        if (isFetchable(row) && !isClosing)
            row->resource()->fetch(&prompt); // returns as soon as the fetch is on its way
    }
}

void ViewerWindow::cancelSelected()
{
    for (ResourceRow *row : selectedRows())
        row->resource()->cancel();
}

void ViewerWindow::removeSelected()
{
    for (ResourceRow *row : selectedRows()) {
        // Out of the list first: that tells of the change while all of the row is there.
        if (!row->resource()->isBusy())
            delete list->takeTopLevelItem(list->indexOfTopLevelItem(row));
    }
    showState();
}

void ViewerWindow::closeEvent(QCloseEvent *event)
{
    if (!isBusy()) {
        event->accept();
        return;
    }
    // A coroutine goes on by way of the event loop, which ends with the last window. So the end is
    // asked for now, and the window closes when the last coroutine has seen it.
    event->ignore();
    isClosing = true;
    for (ResourceRow *row : rows())
        row->resource()->cancel();
    // To be told to end while a question is open is an answer: no.
    if (QWidget *question = QApplication::activeModalWidget())
        question->close();
    setEnabled(false);
}

void ViewerWindow::showState()
{
    const QList<ResourceRow *> selected = selectedRows();
    fetchButton->setEnabled(std::any_of(selected.begin(), selected.end(), &isFetchable));
    cancelButton->setEnabled(std::any_of(selected.begin(), selected.end(), &viewer::isBusy));
    removeButton->setEnabled(!std::all_of(selected.begin(), selected.end(), &viewer::isBusy));
    details->setText(selected.size() == 1 ? detailsOf(*selected.first()->resource()) : QString());
    // Later, and not inside of the coroutine that has just ended.
    if (isClosing && !isBusy())
        QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

QList<ResourceRow *> ViewerWindow::rows() const
{
    QList<ResourceRow *> all;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        all.append(static_cast<ResourceRow *>(list->topLevelItem(i)));
    return all;
}

QList<ResourceRow *> ViewerWindow::selectedRows() const
{
    QList<ResourceRow *> selected = rows();
    selected.removeIf([](const ResourceRow *row) { return !row->isSelected(); });
    return selected;
}

bool ViewerWindow::isBusy() const
{
    const QList<ResourceRow *> all = rows();
    return std::any_of(all.begin(), all.end(), &viewer::isBusy);
}

} // namespace viewer
