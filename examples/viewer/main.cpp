// Shows a list of resources and fetches those that the user wants, without ever standing still.
//   viewer [REFERENCE...]
#include "SchemesRegistration.h"
#include "ViewerWindow.h"

#include <QApplication>

int main(int argc, char **argv)
{
    // The application first: the manager belongs to the thread that asks for it first, and needs
    // the event loop of that thread.
    const QApplication application(argc, argv);
    zel::registerResourceSchemes();

    viewer::ViewerWindow window;
    const QStringList references = QApplication::arguments().mid(1);
    for (const QString &reference : references)
        window.add(reference);
    window.show();
    return QApplication::exec();
}
