#ifndef QUILLON_REPORT_API_REPORTDEFINITIONMESSAGEHANDLER_H
#define QUILLON_REPORT_API_REPORTDEFINITIONMESSAGEHANDLER_H

#include "api/reportdefinition.h"

#include <QAbstractMessageHandler>

namespace quillon::report {

// Collects what the schema says about a document as plain text, and passes each message on unchanged. Apart
// from the definition's own header, so that the users of that one need no schema classes.
class ReportDefinition::MessageHandler : public QAbstractMessageHandler {
public:
    // Messages are appended to `dest`, separated by blank lines, and go on to `next`. Either may be null;
    // both stay the caller's.
    MessageHandler(QString *dest, QAbstractMessageHandler *next, QObject *parent);

protected:
    void handleMessage(QtMsgType type, const QString &description, const QUrl &identifier,
        const QSourceLocation &sourceLocation) override;

private:
    QString *mDest;
    QAbstractMessageHandler *mNextInChain;
};

} // namespace quillon::report

#endif
