#ifndef HOST_WORKFLOW_MAINWINDOW_H
#define HOST_WORKFLOW_MAINWINDOW_H

#include "core/export.h"

class QWidget;

// The window that a tool would show itself in. The host runs its tools offline: there is no window, and
// messages that would be shown on top of it go to the standard error stream (see OfflineSupport).
class BRIVANE_HOST_EXPORT MainWindow {
public:
    // The parent for messages: null, since nothing is shown in a window.
    static QWidget *getWindow();
};

#endif
