#include "platform/log/AttrLog.h"

#include <algorithm>

namespace Platform {

namespace {

std::vector<Ptr<AttrLogOutput>>& outputs() {
    static std::vector<Ptr<AttrLogOutput>> theOutputs;
    return theOutputs;
}

}  // namespace

void AttrLogSocketOutput::fdIs(int fd) {
    if (fd_ != fd) {
        fd_ = fd;
        fdChanged_.notify();
    }
}

void attrLogOutputAdd(const Ptr<AttrLogOutput>& output) {
    outputs().push_back(output);
}

void attrLogOutputDel(const Ptr<AttrLogOutput>& output) {
    std::erase(outputs(), output);
}

const std::vector<Ptr<AttrLogOutput>>& attrLogOutputs() {
    return outputs();
}

}  // namespace Platform
