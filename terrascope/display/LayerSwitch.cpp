#include "terrascope/display/LayerSwitch.h"

#include <cmath>
#include <utility>

namespace Terrascope {

namespace {

constexpr int kStepsPerFactor = 5;

/// One step from `current` towards `target`. The sum of five fifths falls short of 1 by rounding;
/// that must not cost a sixth step.
double StepTowards(double current, double target, double step) {
    constexpr double kRounding = 1e-9;
    return std::fabs(target - current) <= step + kRounding
               ? target
               : current + (target > current ? step : -step);
}

/// What the former view is scaled to. A factor that no provider can mean is 1, which ends the
/// switch at its first step: it might never be reached.
double TargetFactor(double next, double current) {
    constexpr double kLargest = 64.0;
    const double factor = next / current;
    return factor >= 1 / kLargest && factor <= kLargest ? factor : 1.0;
}

}  // namespace

/// The thread of one switch. A switch without it would never end and refuse all others.
class CLayerSwitch::CSwitchThread : public CLayerSwitchThread {
public:
    explicit CSwitchThread(CLayerSwitch& owner)
        : CLayerSwitchThread(&owner.m_tool), m_owner(owner) {}
    ~CSwitchThread() override { Stop(); }

    DWORD Run() override {
        struct Ending {
            CLayerSwitch& owner;
            ~Ending() { owner.OnThreadEnd(); }
        };
        const Ending ending{m_owner};
        return CLayerSwitchThread::Run();
    }

private:
    CLayerSwitch& m_owner;
};

CLayerSwitch::CLayerSwitch(ILayerSwitchTool& tool, Repaint repaint)
    : m_tool(tool), m_repaint(std::move(repaint)) {}

CLayerSwitch::~CLayerSwitch() {
    Stop();
}

bool CLayerSwitch::IsBusy() const {
    return m_running || (m_thread != nullptr && !m_thread->IsFinished());
}

void CLayerSwitch::Begin(SwitchMode mode, double nextFactor, double currentFactor,
                         FormerView former) {
    ASSERT(mode != SwitchMode::None && !IsBusy());
    const double direction = mode == SwitchMode::ZoomIn ? 2.0 : 0.5;
    CSingleLock lock(&m_lock, TRUE);
    m_running = true;
    m_painted = true;
    m_mode = mode;
    m_targetFactor = TargetFactor(nextFactor * direction, currentFactor);
    m_currentFactor = 1.0;
    m_former = std::move(former);
}

void CLayerSwitch::Start() {
    m_thread = std::make_unique<CSwitchThread>(*this);
    m_thread->Start();
    if (!m_thread->HasThread()) {
        End();  // the system had none to give
    }
}

bool CLayerSwitch::Step() {
    {
        CSingleLock lock(&m_lock, TRUE);
        if (!m_running) {
            m_former.bitmap.reset();
            return false;
        }
        if (!m_painted) {
            return true;
        }
        if (m_mode == SwitchMode::ZoomIn && m_currentFactor < m_targetFactor) {
            m_currentFactor = StepTowards(m_currentFactor, m_targetFactor, 1.0 / kStepsPerFactor);
        } else if (m_mode == SwitchMode::ZoomOut && m_targetFactor < m_currentFactor) {
            m_currentFactor = StepTowards(m_currentFactor, m_targetFactor, 0.5 / kStepsPerFactor);
        } else {
            FinishLocked();
        }
        // Before the host is asked: its paint may come at once.
        m_painted = !m_repaint;
    }
    if (m_repaint) {
        m_repaint();
    }
    return true;
}

bool CLayerSwitch::Draw(const CPointF& center, const Paint& paint) {
    if (!m_running) {
        return false;
    }
    CSingleLock lock(&m_lock, TRUE);
    if (!m_running) {
        return false;  // it ended between the question and the lock
    }
    if (m_former.bitmap != nullptr) {
        PaintMoment moment;
        moment.resolution = m_former.resolution;
        moment.center = m_former.center;
        moment.bitmapOrigin = m_former.bitmapOrigin;
        moment.shift = center - m_former.center;
        moment.targetFactor = m_targetFactor;
        moment.currentFactor = m_currentFactor;
        paint(*m_former.bitmap, moment);
    }
    m_painted = true;
    return true;
}

void CLayerSwitch::End() {
    CSingleLock lock(&m_lock, TRUE);
    FinishLocked();
}

void CLayerSwitch::Stop() {
    m_stopping = true;
    m_thread.reset();
}

void CLayerSwitch::FinishLocked() {
    m_currentFactor = 1.0;
    m_running = false;
    if (m_repaint) {
        m_former.bitmap.reset();
    }
}

void CLayerSwitch::OnThreadEnd() {
    {
        CSingleLock lock(&m_lock, TRUE);
        if (!m_running) {
            return;
        }
        FinishLocked();
    }
    if (m_repaint && !m_stopping) {
        m_repaint();  // the host still shows the last step
    }
}

}  // namespace Terrascope
