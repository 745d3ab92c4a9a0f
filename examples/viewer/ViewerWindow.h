#pragma once

#include <QWidget>

QT_BEGIN_NAMESPACE
class QCheckBox;
class QLabel;
class QLayout;
class QLineEdit;
class QPushButton;
class QTreeWidget;
QT_END_NAMESPACE

namespace viewer {

class ResourceRow;

/// The window: a list of resources, and what can be done with those that are selected.
class ViewerWindow : public QWidget
{
    Q_OBJECT

public:
    explicit ViewerWindow(QWidget *parent = nullptr);

    /// Lists the resource, or selects it if it is listed. What is no reference is told below.
    void add(const QString &reference);

protected:
    /// Closes at once if nothing runs, and else as soon as what runs has been canceled.
    void closeEvent(QCloseEvent *event) override;

private:
    QLayout *makeEntry();
    QTreeWidget *makeList();
    QLayout *makeActions();
    QPushButton *makeButton(const QString &name, const QString &text,
                            void (ViewerWindow::*action)());

    void addTyped();
    void fetchSelected();
    void cancelSelected();
    void removeSelected();
    void showState();

    QList<ResourceRow *> rows() const;
    QList<ResourceRow *> selectedRows() const;
    bool isBusy() const;

    QLineEdit *entry = nullptr;
    QTreeWidget *list = nullptr;
    QCheckBox *askFirst = nullptr;
    QPushButton *fetchButton = nullptr;
    QPushButton *cancelButton = nullptr;
    QPushButton *removeButton = nullptr;
    QLabel *details = nullptr;
    bool isClosing = false;
};

} // namespace viewer
