#ifndef SAMPLER_SPOOLKEEPER_DELIVERY_H
#define SAMPLER_SPOOLKEEPER_DELIVERY_H

#include <chrono>
#include <string>
#include <vector>

namespace fern::spoolkeeper {

// Takes the files of a node's folder to a folder that the host may see.
class Delivery {
public:
    // `node` is the name that spools of this node begin with.
    Delivery(std::string from, std::string to, std::string node);

    // Copies all that is there, what living processes still write included.
    void copy();
    // Takes away what no process writes any more: what can't be copied is lost.
    void move();
    // Whether what was handed over is the host's isn't sure: the folder may be one of this node alone. Waits
    // until the host has said that it sees it, and takes everything back where it hasn't after so long.
    void waitUntilSeen(std::chrono::milliseconds patience);

private:
    std::vector<std::string> files() const;
    bool isWritten(const std::string &file) const;
    bool copyFile(const std::string &file);
    bool isSeen() const;

    std::string mFrom;
    std::string mTo;
    std::string mNode;
    std::vector<std::string> mDelivered; // names
};

} // namespace fern::spoolkeeper

#endif
