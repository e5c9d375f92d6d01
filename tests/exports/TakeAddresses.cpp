// SPDX-License-Identifier: Apache-2.0
// Built against the installed headers and linked against the installed shared library
// alone. nameAll() names every function those headers declare (virtual ones through
// qualified calls, which bind to the definition, not to the vtable), so the link fails for
// any that the library does not export. main() reaches the controller's class and the host
// controls through that library.

#include <Cam3PerfCtrlImp.h>
#include <PerfCtrlHelper.h>
#include <PerfOperatorImp.h>
#include <qvncam/platform/HostControl.h>
#include <qvncam_perfctrl.h>

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

// Built at -O0: the call keeps each address, and so its symbol, in the object.
template <typename T>
void keep(T) {}

// Never called; external linkage keeps its references in the object.
void nameAll(Cam3PerfCtrlImp& c, PerfOperatorImp& op, PerfOperatorHolderImp& h,
             InflightOperatorHolderImp& ih, PerfCtrlSet set) {
    std::vector<int> cmds;
    qcam::StreamConfiguration config;
    const int reqNo = 0;
    (void)Cam3PerfCtrl::getInstance();
    (void)new Cam3PerfCtrlImp();
    c.Cam3PerfCtrlImp::~Cam3PerfCtrlImp();
    c.Cam3PerfCtrl::~Cam3PerfCtrl();
    (void)c.Cam3PerfCtrlImp::runDefaultBoost(0);
    (void)c.Cam3PerfCtrlImp::runPerfBoost(EPERF_BOOST_DEFAULT, 0);
    (void)c.Cam3PerfCtrlImp::enterPerfCtrl_EnterCamera(0);
    (void)c.Cam3PerfCtrlImp::enterPerfCtrl_ConfigureStream(config);
    (void)c.Cam3PerfCtrlImp::enterPerfCtrl_InflightRequest(reqNo, nullptr, set);
    (void)c.Cam3PerfCtrlImp::setAffinity();
    (void)c.Cam3PerfCtrlImp::queryAffinity("");
    (void)c.Cam3PerfCtrlImp::enablePerTaskEASControl(0, 0);
    keep(&Cam3PerfCtrlImp::checkCPUMask);
    keep(&Cam3PerfCtrlImp::getMultiCamZoomBoostTable);

    keep(&PerfCtrlHelper::loadPowerHalAPI);
    keep(&PerfCtrlHelper::loadCustomPerfFunctions);
    keep(&PerfCtrlHelper::prepareEnterCameraPlatSettings);
    keep(&PerfCtrlHelper::PowerEnumToStringMap);
    keep(&PerfCtrlHelper::StringToPowerEnumMap);
    keep(&PerfCtrlHelper::AvailablePowerHalCmds);
    keep(&PerfCtrlHelper::BoostComdTable);

    (void)new PerfOperatorImp(cmds, 0, "");
    op.PerfOperatorImp::~PerfOperatorImp();
    op.PerfOperator::~PerfOperator();
    (void)op.PerfOperatorImp::exit();
    (void)op.PerfOperatorImp::isAlive();
    (void)op.PerfOperatorImp::detach();
    (void)op.PerfOperatorImp::getTimeoutInMilli();
    keep(&PerfOperatorImp::perform_extra);
    keep(&PerfOperatorImp::printCmds);
    keep(&PerfOperatorImp::traceTimeoutCb);
    keep(&PerfOperatorImp::mfnLockAcq);
    keep(&PerfOperatorImp::mfnLockRel);
    keep(&PerfOperatorImp::miGID);

    h.PerfOperatorHolderImp::~PerfOperatorHolderImp();
    h.PerfOperatorHolder::~PerfOperatorHolder();
    keep(&PerfOperatorHolderImp::push_back);
    keep(&PerfOperatorHolderImp::setCustomHolder);
    (void)h.PerfOperatorHolderImp::getPerfOperator();
    (void)h.PerfOperatorHolderImp::exit();

    ih.InflightOperatorHolderImp::~InflightOperatorHolderImp();
    ih.InflightOperatorHolder::~InflightOperatorHolder();
    keep(&InflightOperatorHolderImp::insert);
    (void)ih.InflightOperatorHolderImp::notifyRequestDone(0);
    (void)ih.InflightOperatorHolderImp::exit();

    keep(&qvncam_perfctrl_set_affinity);
    keep(&qvncam_perfctrl_query_affinity);
    keep(&qvncam_perfctrl_dump);

    keep(&qvncam::host::setProperty);
    keep(&qvncam::host::clearProperty);
    keep(&qvncam::host::clearAllProperties);
    keep(&qvncam::host::forceProcessProfilesFailure);
    keep(&qvncam::host::reloadULogger);
    keep(&qvncam::host::lastC2PSInit);
    keep(&qvncam::host::resetC2PSInit);
}

int main() {
    qvncam::host::forceProcessProfilesFailure(true);
    auto* ctrl = dynamic_cast<Cam3PerfCtrlImp*>(Cam3PerfCtrl::getInstance());
    if (ctrl == nullptr) {
        return 1;
    }
    const bool masks = !ctrl->checkCPUMask(0) && ctrl->checkCPUMask(1) && ctrl->checkCPUMask(255) &&
                       !ctrl->checkCPUMask(256);
    C2PSInitParams record{};
    return masks && !qvncam::host::lastC2PSInit(&record) ? 0 : 1;
}
