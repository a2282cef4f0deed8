#include "workflow/nomenclature.h"

#include <QCoreApplication>

QString Nomenclature::process(bool capital, bool plural, bool article, bool lowerCase)
{
    QString word = plural ? QCoreApplication::translate("Nomenclature", "processes")
                          : QCoreApplication::translate("Nomenclature", "process");
    if (article && !plural)
        word = QCoreApplication::translate("Nomenclature", "a process");
    if (capital || !lowerCase)
        word[0] = word[0].toUpper();
    return word;
}
