#ifndef HOST_WORKFLOW_OFFLINESUPPORT_H
#define HOST_WORKFLOW_OFFLINESUPPORT_H

#include "core/export.h"

#include <QString>

class QWidget;

// Messages to the user of a tool that runs without a window: one line on the standard error stream, in
// UTF-8, behind the name of the tool ("quillon-report: ..."). `parent` is the window that a message would
// be shown on top of, and isn't looked at. None of them waits for a reply.
class BRIVANE_HOST_EXPORT OfflineSupport {
public:
    static void criticalMsg(QWidget *parent, const QString &message);
    static void criticalMsgNonBlock(QWidget *parent, const QString &message);
    static void warningMsgNonBlock(QWidget *parent, const QString &message);
    static void infoMsgNonBlock(QWidget *parent, const QString &message);
};

#endif
