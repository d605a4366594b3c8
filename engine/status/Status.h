// The result of an engine or linker operation: a SubstanceStatus code and,
// when it is not Ok, the one-line reason naming what is wrong and where
// ("assembly: graph 'pkg://x' node 3 ('blend'): image input 2 names node 9,
// past the 5 nodes of the graph"). Each layer's entry point begins the reason
// with its own name; the C interface hands the reason out beside the code
// (engine/api/FailureReason.h).
#pragma once

#include "platform/engine/EngineTypes.h"

#include <ostream>
#include <string>
#include <utility>

namespace kvengine {

class [[nodiscard]] Status {
public:
    Status() = default; // Ok
    Status(SubstanceStatus code, std::string reason) : code_(code), reason_(std::move(reason)) {}

    bool ok() const { return code_ == SubstanceStatus_Ok; }
    int code() const { return code_; }
    const std::string& reason() const { return reason_; }

    // The same failure with `place` in front of its reason, e.g. "engine: ".
    Status within(const std::string& place) && {
        if (!ok())
            reason_.insert(0, place);
        return std::move(*this);
    }

    // Compared with a code, so that checks read `status == SubstanceStatus_Cycle`.
    friend bool operator==(const Status& status, int code) { return status.code_ == code; }
    friend bool operator!=(const Status& status, int code) { return status.code_ != code; }
    friend std::ostream& operator<<(std::ostream& out, const Status& status) {
        out << "status " << status.code_;
        return status.ok() ? out : out << " (" << status.reason_ << ")";
    }

private:
    int code_ = SubstanceStatus_Ok;
    std::string reason_;
};

} // namespace kvengine
