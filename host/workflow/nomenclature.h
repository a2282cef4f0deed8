#ifndef HOST_WORKFLOW_NOMENCLATURE_H
#define HOST_WORKFLOW_NOMENCLATURE_H

#include "core/export.h"

#include <QString>

// The host's words for things that its tools name in sentences, so that all of them use the same.
namespace Nomenclature {

// The host's word for a process of the job, translated. `plural` gives "processes"; `article` puts "a" in
// front of the singular; the first letter is upper case with `capital`, or unless `lowerCase` asks for the
// word as it stands inside a sentence. So process(false, true, false, true) is "processes".
BRIVANE_HOST_EXPORT QString process(bool capital, bool plural, bool article, bool lowerCase);

} // namespace Nomenclature

#endif
