#ifndef HOST_WORKFLOW_FRONTENDAPPLICATIONPROPERTIES_H
#define HOST_WORKFLOW_FRONTENDAPPLICATIONPROPERTIES_H

#include <QByteArray>
#include <QList>

// What the front end knows of its own start.
struct FrontendApplicationProperties {
    // The words of its command line as the system handed them over, without the program's name: the
    // program to run must get its arguments byte for byte, and they need not be text in any encoding.
    QList<QByteArray> arguments;
};

#endif
