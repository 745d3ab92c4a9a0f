#include <QCoreApplication>

/// The floor of every program's start: Qt, and nothing of ours.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return 0;
}
