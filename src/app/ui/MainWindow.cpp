#include "app/ui/MainWindow.h"

#include <QLabel>
#include <QStatusBar>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("Main"));
    setWindowTitle(QStringLiteral("Nimbrel"));
    auto* welcome = new QLabel(tr("Nimbrel weather-station logger"), this);
    welcome->setAlignment(Qt::AlignCenter);
    setCentralWidget(welcome);
    statusBar()->showMessage(tr("Ready"));
    resize(900, 600);
}
