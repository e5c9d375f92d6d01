// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "PerfOperatorImp.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

PerfOperatorHolder::~PerfOperatorHolder() = default;
InflightOperatorHolder::~InflightOperatorHolder() = default;

PerfOperatorHolderImp::~PerfOperatorHolderImp() {
    _exit();
    mCustomOperator.reset();
}

bool PerfOperatorHolderImp::push_back(std::shared_ptr<PerfOperator> op) {
    mOperators.push_back(std::move(op));
    return true;
}

bool PerfOperatorHolderImp::setCustomHolder(std::shared_ptr<PerfOperator> op) {
    mCustomOperator = std::move(op);
    return true;
}

std::shared_ptr<PerfOperator> PerfOperatorHolderImp::getPerfOperator() {
    return mCustomOperator;
}

bool PerfOperatorHolderImp::exit() {
    return _exit();
}

bool PerfOperatorHolderImp::_exit() {
    // Last added first, so locks are released in reverse order of creation.
    while (!mOperators.empty()) {
        mOperators.pop_back();
    }
    return true;
}

InflightOperatorHolderImp::~InflightOperatorHolderImp() {
    _exit();
}

bool InflightOperatorHolderImp::insert(int requestNo, std::shared_ptr<PerfOperator> op) {
    qvncam::MutexLock lock(mLock);
    // The old operator of this request goes (and releases its lock) before the new one is stored.
    mOperators.erase(requestNo);
    mOperators.emplace(requestNo, std::shared_ptr<PerfOperator>()).first->second = std::move(op);
    return true;
}

bool InflightOperatorHolderImp::notifyRequestDone(int requestNo) {
    qvncam::MutexLock lock(mLock);
    mOperators.erase(requestNo);
    return true;
}

bool InflightOperatorHolderImp::exit() {
    return _exit();
}

bool InflightOperatorHolderImp::_exit() {
    qvncam::MutexLock lock(mLock);
    mOperators.clear();
    return true;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
