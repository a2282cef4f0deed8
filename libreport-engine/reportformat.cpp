#include "reportformat.h"

namespace brivane {

QString ReportFormat::toString() const
{
    switch (mValue) {
    case Html:
        return QStringLiteral("html");
    case Text:
        return QStringLiteral("text");
    case All:
        return QStringLiteral("all");
    case Invalid:
        break;
    }
    return QString();
}

} // namespace brivane
