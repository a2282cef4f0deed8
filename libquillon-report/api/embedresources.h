#ifndef QUILLON_REPORT_API_EMBEDRESOURCES_H
#define QUILLON_REPORT_API_EMBEDRESOURCES_H

#include <QString>

namespace quillon::report {

/// The page with every script, style sheet and image that `basePath` (a folder or a prefix of resources)
/// holds written into it, so that it is one file. A reference to anything else stays as it is.
///
/// Works on the text of the page: attributes must be quoted, a script's element must be empty, a link must
/// say rel="stylesheet", and images are known by the suffixes png, jpg and gif.
QString embedResources(const QString &html, const QString &basePath);

} // namespace quillon::report

#endif
