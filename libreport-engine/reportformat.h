#ifndef REPORTFORMAT_H
#define REPORTFORMAT_H

#include "reportengineexport.h"

#include <QString>

namespace brivane {

/// The form that a template makes: a page, text, or (for a partial that serves both) all of them.
class REPORT_ENGINE_EXPORT ReportFormat {
public:
    enum value_type { Invalid = 0, Html = 1, Text = 2, All = 3 };

    ReportFormat(value_type value = Invalid)
        : mValue(value)
    {
    }

    /// The name that the scripts use: "html", "text" or "all"; a null string for Invalid.
    QString toString() const;
    bool isValid() const { return mValue != Invalid; }
    operator value_type() const { return mValue; }

private:
    value_type mValue;
};

} // namespace brivane

#endif
