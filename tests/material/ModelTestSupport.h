// Helpers shared by the material model tests.
#pragma once

#include "material/Substance.h"

#include <memory>

namespace kvtest {

// Counts the notifications of one entity's modified signal.
struct NotificationCounter {
    explicit NotificationCounter(kvSubstance::SubstanceEntity& entity) {
        entity.getModifiedSignal().connect(std::make_unique<kvRTB::FunctionVoidMember<NotificationCounter>>(
                                               this, &NotificationCounter::onModified),
                                           &tracking);
    }
    void onModified() { ++count; }
    int count = 0;
    kvRTB::SignalBase tracking;
};

inline kvSubstance::SubstanceInput::IntOrFloat floats(float a, float b = 0, float c = 0, float d = 0) {
    kvSubstance::SubstanceInput::IntOrFloat v;
    v.f[0] = a, v.f[1] = b, v.f[2] = c, v.f[3] = d;
    return v;
}

inline kvSubstance::SubstanceInput::IntOrFloat ints(int a, int b = 0, int c = 0, int d = 0) {
    kvSubstance::SubstanceInput::IntOrFloat v;
    v.i[0] = a, v.i[1] = b, v.i[2] = c, v.i[3] = d;
    return v;
}

} // namespace kvtest
