#ifndef QUILLON_REPORT_ADVICESENTENCE_H
#define QUILLON_REPORT_ADVICESENTENCE_H

#include "api/defaultmetrics.h"

#include <QObject>
#include <QString>

// What the tables of advice are made of. Internal to the advice modules.
namespace advicesentences {

using quillon::report::DefaultMetrics;
using quillon::report::PodLatin1String;

// A sentence with the metrics or subsections that its spans belong to: %1, %2 and %3.
struct Sentence {
    const char *text = nullptr;
    PodLatin1String about = {nullptr};
    PodLatin1String alsoAbout = {nullptr};
    PodLatin1String furtherAbout = {nullptr};
};

constexpr Sentence none;

// The sentence in the user's language; a null string for none.
inline QString say(const Sentence &sentence)
{
    if (!sentence.text) {
        return {};
    }
    QString text = QObject::tr(sentence.text);
    for (const PodLatin1String &id : {sentence.about, sentence.alsoAbout, sentence.furtherAbout}) {
        if (id.value) {
            text = text.arg(QString(id));
        }
    }
    return text;
}

} // namespace advicesentences

#endif
