#pragma once

#include <afxmt.h>

#include <atomic>
#include <functional>
#include <memory>

#include "terrascope/display/LayerSwitchThread.h"
#include "terrascope/display/LockOrder.h"
#include "terrascope/display/MapBitmap.h"
#include "terrascope/display/ViewGeometry.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope {

/// What a layer switch does with the view.
enum class SwitchMode { None = 0, ZoomIn = 1, ZoomOut = 2 };

/// The view from before a layer switch, shown while the switch is animated.
struct FormerView {
    std::unique_ptr<CMapBitmap> bitmap;
    CPointF bitmapOrigin;
    CPointF center;
    Resolution resolution;
};

/// The animated switch to the next layer: the view from before it is scaled in five steps towards
/// the new zoom, a step each time the host has painted the one before.
///
/// Units:   factors: 1 is the former view's own scale.
/// Owns:    the former view's bitmap, and the switch thread.
/// Threads: Step on the switch thread, IsRunning on any, all else on the user-interface thread.
/// Locks:   the switch lock guards the state; the caller may hold the tile and the bitmap lock.
/// Ends:    after the last step, with End, or with its thread, however that ends.
class CLayerSwitch {
public:
    using Repaint = std::function<void()>;
    using Paint = std::function<void(CMapBitmap& bitmap, const PaintMoment& moment)>;

    /// `tool` is what the switch thread drives; its Step calls Step here. `repaint` asks the host
    /// to paint the whole view; it is called on the switch thread with no lock held, and empty for
    /// a display without a window, whose former view then stays until the thread ends.
    CLayerSwitch(ILayerSwitchTool& tool, Repaint repaint);
    CLayerSwitch(const CLayerSwitch&) = delete;
    CLayerSwitch& operator=(const CLayerSwitch&) = delete;
    ~CLayerSwitch();

    bool IsRunning() const { return m_running; }

    /// Whether a switch runs, or the thread of the last one does: another is refused then.
    bool IsBusy() const;

    /// Sets the switch up, with the zoom factors of the next and the current layer. Start runs it.
    /// Requires: IsBusy is false.
    void Begin(SwitchMode mode, double nextFactor, double currentFactor, FormerView former);
    void Start();

    /// One step; true while the thread shall go on calling.
    bool Step();

    /// Paints the former view as far as the animation is, under the switch lock; false when no
    /// switch runs. `center` is the display's centre now.
    bool Draw(const CPointF& center, const Paint& paint);

    /// Ends a running switch at once.
    void End();

    /// Stops the thread; no repaint is asked for from then on.
    void Stop();

private:
    class CSwitchThread;

    void FinishLocked() TERRASCOPE_REQUIRES(m_lock);
    void OnThreadEnd();

    ILayerSwitchTool& m_tool;
    const Repaint m_repaint;
    std::unique_ptr<CLayerSwitchThread> m_thread;  ///< of the user-interface thread
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_running{false};  ///< written under the lock, read without

    CCriticalSection m_lock TERRASCOPE_ACQUIRED_AFTER(LockOrder::afterBitmap)
        TERRASCOPE_ACQUIRED_BEFORE(LockOrder::afterSwitch);
    bool m_painted TERRASCOPE_GUARDED_BY(m_lock) = true;  ///< the host has painted the last step
    SwitchMode m_mode TERRASCOPE_GUARDED_BY(m_lock) = SwitchMode::None;
    double m_targetFactor TERRASCOPE_GUARDED_BY(m_lock) = 1.0;
    double m_currentFactor TERRASCOPE_GUARDED_BY(m_lock) = 1.0;
    FormerView m_former TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope
