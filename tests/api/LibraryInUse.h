#pragma once

#include <afxwin.h>

#include <stdexcept>
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

/// A folder with the real Terrascope.dll, the look-alike plug-in and settings.
class LibraryFiles {
public:
    LibraryFiles() {
        char program[MAX_PATH] = "";
        ::GetModuleFileNameA(nullptr, program, MAX_PATH);
        const std::string fixtures(program, strrchr(program, '\\'));
        m_folder.MakeFolder("Plugins\\Quillmont\\TileMapInfoProvider");
        for (const auto& [name, to] :
             {std::pair("Terrascope.dll", ""),
              {"LookalikeProvider.dll", "Plugins\\Quillmont\\TileMapInfoProvider\\"}}) {
            ::CopyFileA((fixtures + "\\fixtures\\" + name).c_str(),
                        (m_folder / (std::string(to) + name)).c_str(), FALSE);
        }
        m_folder.WriteFile("Terrascope.ini",
                           "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=Near\nREMOTE=Far\n"
                           "[Near]\nDATA_PATH=near-by\n[Far]\nDATA_PATH=far-away\n"
                           "[TILE_LOAD]\nFAST=1\n");
    }
    std::string Library() const { return m_folder / "Terrascope.dll"; }

private:
    TemporaryFolder m_folder;
};

/// Terrascope.dll, loaded while the object lives.
class LoadedLibrary {
public:
    explicit LoadedLibrary(const std::string& path) : m_module(::LoadLibraryA(path.c_str())) {
        if (m_module == nullptr) {
            throw std::runtime_error("cannot load " + path);
        }
    }
    ~LoadedLibrary() { ::FreeLibrary(m_module); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    HMODULE Module() const { return m_module; }

    template <class TFunction>
    static TFunction* Entry(HMODULE module, const char* name) {
        void* entry = reinterpret_cast<void*>(::GetProcAddress(module, name));
        return entry != nullptr ? reinterpret_cast<TFunction*>(entry)
                                : throw std::runtime_error(std::string("no ") + name);
    }
    /// A function of CMapAssistant by the rest of its decorated name.
    template <class TFunction>
    TFunction* Assistant(const std::string& rest) const {
        return Entry<TFunction>(m_module, ("_ZN10Terrascope13CMapAssistant" + rest).c_str());
    }
    Ledger& Records() const {
        return *Entry<Ledger*()>(::GetModuleHandleA("LookalikeProvider.dll"), "ledger")();
    }
    LookalikeDisplay* MakeDisplay(CSize logicalSize, CWnd* window, double scale) const {
        return Assistant<LookalikeDisplay*(CSize, CWnd*, double)>("13GetTerrascopeE5CSizeP4CWndd")(
            logicalSize, window, scale);
    }

private:
    HMODULE m_module;
};

}  // namespace TerrascopeTest
