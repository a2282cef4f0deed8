#ifndef API_CONTENTPOLICY_H
#define API_CONTENTPOLICY_H

#include <QJsonObject>
#include <QString>

namespace quillon::report {

/// Gives `page`, a finished page whose scripts stand in it, a content security policy: it may run the scripts
/// that it holds, show the pictures that `document`, the data that it draws, names, and reach nothing else.
/// What a definition or a value brings along by a fault of ours isn't run.
QString withContentPolicy(const QString &page, const QJsonObject &document);

} // namespace quillon::report

#endif
