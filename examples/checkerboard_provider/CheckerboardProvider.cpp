// The smallest useful provider: one world map whose tiles are a checkerboard, drawn when they are
// asked for. docs/writing-a-provider.md walks through it.
#include <vector>

#include <terrascope/providers/ITileMapInfoProvider.h>
#include <terrascope/providers/PluginFactory.h>
#include <terrascope/providers/TileMapInfoProviderPluginKernel.h>

using namespace Terrascope;

namespace {

constexpr int kTileSize = 256;
constexpr int kLayers = 10;

class CheckerboardProvider : public ITileMapInfoProvider {
public:
    ~CheckerboardProvider() override { delete m_pRemoteProvider; }

    bool UpdateMapLib(bool) override { return true; }
    void SetDataPath(const CString&) override {}

    std::list<tagTILE_MAP_INFO*> GetMapList() override { return {GetMapInfo("Checkerboard")}; }

    tagTILE_MAP_INFO* GetMapInfo(const CString& mapName) override {
        if (mapName.CompareNoCase("Checkerboard") != 0) {
            return nullptr;
        }
        auto* map = new tagTILE_MAP_INFO;
        map->strName = "Checkerboard";
        map->strTileFormat = "bmp";
        map->nFirstLayer = 1;
        map->nLayerCount = kLayers;
        map->dLongitudeStart = -180;
        map->dLatitudeStart = -90;
        map->dLongitude = 360;
        map->dLatitude = 180;
        map->nTileWidth = map->nTileHeight = kTileSize;
        return map;
    }

    std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName) override {
        std::list<tagTILE_MAP_LAYER_INFO*> layers;
        for (int layer = 1; layer <= kLayers; ++layer) {
            layers.push_back(GetLayerInfo(mapName, layer));
        }
        return layers;
    }

    tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString&, int layer) override {
        if (layer < 1 || layer > kLayers) {
            return nullptr;  // the display asks for neighbours of the first and last layer, too
        }
        auto* info = new tagTILE_MAP_LAYER_INFO;
        info->nLayerNumber = layer;
        info->nTileCountX = 1 << layer;
        info->nTileCountY = 1 << (layer - 1);
        return info;
    }

    // Called by two threads at once: it touches nothing that they share.
    std::list<tagTILE_IMAGE*> LoadTiles(const CString&, int layer,
                                        const std::list<CString>& keys) override {
        std::list<tagTILE_IMAGE*> tiles;
        for (const CString& key : keys) {
            auto* tile = new tagTILE_IMAGE;
            tile->strKey = key;
            for (int i = 0; i < layer && i < key.GetLength(); ++i) {
                const unsigned digit = static_cast<unsigned>(key[i] - '0');
                tile->nColumn = tile->nColumn * 2 + digit % 2;
                tile->nRow = tile->nRow * 2 + digit / 2;
            }
            const bool dark = (tile->nColumn + tile->nRow) % 2 != 0;
            const std::vector<BYTE> image = Picture(dark ? 0x60 : 0xE0);
            tile->stream.Write(image.data(), static_cast<UINT>(image.size()));
            tiles.push_back(tile);
        }
        return tiles;
    }

private:
    /// A grey bitmap file of one tile's size.
    static std::vector<BYTE> Picture(BYTE grey) {
        constexpr DWORD kHeaders = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
        std::vector<BYTE> file(kHeaders + kTileSize * kTileSize * 3, grey);
        auto* header = reinterpret_cast<BITMAPFILEHEADER*>(file.data());
        *header = {0x4D42, static_cast<DWORD>(file.size()), 0, 0, kHeaders};
        auto* info = reinterpret_cast<BITMAPINFOHEADER*>(header + 1);
        *info = {sizeof(BITMAPINFOHEADER), kTileSize, kTileSize, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
        return file;
    }
};

class CheckerboardFactory : public CPluginFactory<ITileMapInfoProvider> {
public:
    CString GetName() override { return "CheckerboardProvider"; }
    ITileMapInfoProvider* Create() override { return new CheckerboardProvider; }
};

}  // namespace

extern "C" __declspec(dllexport) std::int32_t getEngineVersion() {
    return 1;
}

extern "C" __declspec(dllexport) void registerPlugin(CTileMapInfoProviderPluginKernel* kernel) {
    kernel->RegisterFactory(new CheckerboardFactory);
}
