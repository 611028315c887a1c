#pragma once

#include <afxwin.h>

#include <memory>
#include <string>
#include <utility>

#include "tests/fixtures/Lookalike/Ledger.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace TerrascopeTest {

/// A display's 22 virtual functions in their prescribed order, as a host without the library's
/// headers would write them.
class LookalikeDisplay {
public:
    struct Point {
        Point(float valueX, float valueY) : x(valueX), y(valueY) {}
        virtual ~Point() = default;
        float x, y;
    };

    virtual ~LookalikeDisplay() = default;
    virtual void MouseMove(UINT flags, CPoint point) = 0;
    virtual void ButtonDown(UINT flags, CPoint point) = 0;
    virtual void ButtonUp(UINT flags, CPoint point) = 0;
    virtual void SetViewOrigin(CPoint origin) = 0;
    virtual void SetViewSize(CSize size) = 0;
    virtual void Draw(CDC* dc) = 0;
    virtual BOOL SetCursor(CWnd* window, UINT hitTest, UINT message) = 0;
    virtual void* SetTool(UINT kind) = 0;
    virtual int Slot9() = 0;
    virtual BOOL Convert(double* x, double* y, double* mapX, double* mapY, UINT direction) = 0;
    virtual BOOL ConvertInt(int* x, int* y, double* mapX, double* mapY, UINT direction) = 0;
    virtual std::pair<int, int> LayerRange() = 0;
    virtual BOOL OpenMap(const CString& name) = 0;
    virtual BOOL SetLayer(UINT number) = 0;
    virtual void SetCenter(const Point& point) = 0;
    virtual BOOL Slot16() = 0;
    virtual bool IsSwitching() = 0;
    virtual int Layer() = 0;
    virtual CString MapName() = 0;
    virtual BOOL Extent(double* left, double* top, double* right, double* bottom) = 0;
    virtual BOOL ConvertRect(const CRect& rect, double* left, double* top, double* right,
                             double* bottom) = 0;
};

/// The real Terrascope.dll with the look-alike plug-in and the awkward decoder, loaded while the
/// object lives.
class LibraryInUse {
public:
    LibraryInUse() {
        const std::string plugins = "Plugins\\Quillmont\\TileMapInfoProvider";
        m_folder.MakeFolder(plugins);
        m_folder.CopyFixture("Terrascope.dll", "Terrascope.dll");
        m_folder.CopyFixture("LookalikeProvider.dll", plugins + "\\LookalikeProvider.dll");
        const std::string decoders = "Plugins\\Quillmont\\ImageDecoder";
        m_folder.MakeFolder(decoders);
        m_folder.CopyFixture("AwkwardDecoder.dll", decoders + "\\AwkwardDecoder.dll");
        m_folder.WriteFile("Terrascope.ini",
                           "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=Near\nREMOTE=Far\n"
                           "[Near]\nDATA_PATH=near-by\n[Far]\nDATA_PATH=far-away\n"
                           "[TILE_LOAD]\nFAST=1\nCACHE_MB=16\nCODECS=1\n");
        Load();
    }
    ~LibraryInUse() { Free(); }
    void Load() { module = ::LoadLibraryA((m_folder / "Terrascope.dll").c_str()); }
    void Free() { ::FreeLibrary(std::exchange(module, nullptr)); }

    /// A function of CMapAssistant by the rest of its decorated name.
    template <class TFunction>
    TFunction* Assistant(const std::string& rest) const {
        return Entry<TFunction>(module, "_ZN10Terrascope13CMapAssistant" + rest);
    }
    Ledger& Records() const {
        return *Entry<Ledger*()>(::GetModuleHandleA("LookalikeProvider.dll"), "ledger")();
    }
    /// In a view of 200 x 200 pixels, without a window.
    std::unique_ptr<LookalikeDisplay> MakeDisplay() const {
        return std::unique_ptr<LookalikeDisplay>(Assistant<LookalikeDisplay*(CSize, CWnd*, double)>(
            "13GetTerrascopeE5CSizeP4CWndd")({628, 628}, nullptr, 1.0));
    }

    HMODULE module = nullptr;

private:
    template <class TFunction>
    static TFunction* Entry(HMODULE module, const std::string& name) {
        return reinterpret_cast<TFunction*>(
            reinterpret_cast<void*>(::GetProcAddress(module, name.c_str())));
    }

    TemporaryFolder m_folder;
};

}  // namespace TerrascopeTest
