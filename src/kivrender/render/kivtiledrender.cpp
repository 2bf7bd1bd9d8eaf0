#include "kivrender/render/kivtiledrender.h"

#include "kivrender/platform/kivglframe.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshaderstencil.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

namespace {

// The longest side of a surface with the software driver; others have the same or more.
constexpr std::int32_t longestSide = 16384;

// A tile's frame has at most this side: with colour, depth, stencil and what is read back of them about 1.5 GB, and
// twice that where shadows and images beside the picture are wanted.
constexpr std::int32_t frameSide = 8192;

// What the rows of one row of tiles may take at most, as long as tiles are not flatter than the grid.
constexpr std::size_t rowBytes = std::size_t{1} << 28;

// In pixels of the finished picture: as wide as the reduction looks, lines look for what they hide, and wide lines and
// points reach over the edge of a projection.
constexpr std::int32_t margin = 32;
// Tiles begin at multiples of this, so that stipple patterns run on.
constexpr std::int32_t grid = 32;

// A tile without its margins, in pixels of the finished picture from the top down.
struct Cell {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};

struct Span {
    std::int32_t from;
    std::int32_t to;
};

// As many equal parts as it takes that none is longer than side, of whole steps of the grid.
std::int32_t evenSide(std::int32_t length, std::int32_t side) {
    const std::int32_t count = std::max(1, (length + side - 1) / side);
    return std::min(side, ((length + count - 1) / count + grid - 1) / grid * grid);
}

std::uint64_t nextPictureNumber() {
    static std::uint64_t number = 0;
    return ++number;
}

// One context for all tiles: the driver fills the memory of each new frame, which takes half as long as drawing it.
class KeptContext {
public:
    KeptContext() {
        kivKeepGlContexts(true);
    }
    KeptContext(const KeptContext&) = delete;
    KeptContext& operator=(const KeptContext&) = delete;
    ~KeptContext() {
        kivKeepGlContexts(wasKept);
        if (!wasKept) {
            kivCoolDownGl(); // half a gigabyte
        }
    }

private:
    bool wasKept = kivKeepsGlContexts();
};

class TiledRender {
public:
    TiledRender(KivRenderer& driver, const KivCommonSettings& wanted, KivDataManager* shaderData,
                const KivScene& drawnScene, const KivCamera& view, const KivTiledPicture& whole)
        : renderer(driver), data(shaderData), scene(drawnScene), camera(view), picture(whole),
          factor(1 << std::clamp(wanted.getAntialias(), 0, 2)),
          hasWholeFrame(!picture.isProjected && !kivNeedsTiles(picture.size, wanted.getAntialias())), settings(wanted) {
        settings.setVectorial(false);
        settings.setSaveRender(false);
        settings.setSaveVectorFile(L"");
        // A name makes the render gather the images beside it; with a tile they come back in memory.
        settings.setSaveRenderFile(L"tile.png");
        settings.setSaveDepth(static_cast<bool>(picture.depth));
        settings.setSaveShadows(static_cast<bool>(picture.shadow));
        number = nextPictureNumber();
        layOut();
    }

    KivTiledOutcome run() {
        if (hasWholeFrame) {
            hasWholeFrame = canHaveWholeFrame();
        }
        const bool isSurveyed = survey();
        if (outcome != KivTiledOutcome::done) {
            return outcome;
        }
        rounds = isSurveyed ? 2 : 1;
        for (std::size_t row = 0; row + 1 < rows.size() && outcome == KivTiledOutcome::done; ++row) {
            drawRow(row);
        }
        return outcome;
    }

private:
    // Rows of tiles are counted from the picture's lower edge, where those of OpenGL are.
    void layOut() {
        const std::int32_t net = frameSide / factor - 2 * margin;
        const std::int32_t side = std::max(grid, (picture.tileSide > 0 ? picture.tileSide : net) / grid * grid);
        cellWidth = evenSide(picture.size.cx, side);
        for (std::int32_t x = 0; x < picture.size.cx; x += cellWidth) {
            columns.push_back(x);
        }
        columns.push_back(picture.size.cx);
        const std::size_t bytes = static_cast<std::size_t>(picture.size.cx) * 5;
        const auto most = static_cast<std::int32_t>(std::min<std::size_t>(rowBytes / bytes, frameSide)) / grid * grid;
        cellHeight = evenSide(picture.size.cy, std::max(grid, std::min(side, most)));
        for (std::int32_t y = 0; y < picture.size.cy; y += cellHeight) {
            rows.push_back(picture.size.cy - y);
        }
        rows.push_back(0);
        std::reverse(rows.begin(), rows.end());
    }

    Cell cellAt(std::size_t row, std::size_t column) const {
        return {columns[column], rows[row], columns[column + 1], rows[row + 1]};
    }

    // The cell with its margins. Those at the picture's edges reach further inwards, so that nearly all frames have the
    // same size and one context serves them.
    Cell around(const Cell& cell) const {
        const Span across = frameOf(cell.left, cell.right, cellWidth, picture.size.cx);
        const Span upward =
            frameOf(picture.size.cy - cell.bottom, picture.size.cy - cell.top, cellHeight, picture.size.cy);
        return {across.from, picture.size.cy - upward.to, across.to, picture.size.cy - upward.from};
    }

    // from, to: of the cell; least: of all but the last cell; end: of the picture.
    static Span frameOf(std::int32_t from, std::int32_t to, std::int32_t least, std::int32_t end) {
        const std::int32_t first = std::max(0, from - margin);
        const std::int32_t last = std::min(end, to + margin);
        const std::int32_t missing = least + 2 * margin - (last - first);
        if (first == 0) {
            return {0, std::min(end, last + missing)};
        }
        return {std::max(0, first - missing / grid * grid), last};
    }

    // A driver may have too little memory for it. The first tile takes over what is made here.
    bool canHaveWholeFrame() const {
        const KivPictureTile tile = tileOf(around(cellAt(0, 0)));
        const KivGlFrameScope frame({tile.picture, tile.frameLeft, tile.frameBottom});
        return kivWarmUpGl(tile.size, kivNeedsStencil(settings.doShadows()));
    }

    // Whether the tiles have been surveyed.
    bool survey() {
        const std::size_t across = columns.size() - 1;
        const std::size_t count = (rows.size() - 1) * across;
        rounds = 2;
        for (std::size_t i = 0; i < count; ++i) {
            KivPictureTile tile = tileOf(around(cellAt(i / across, i % across)));
            tile.isSurvey = true;
            KivBitmapManager surface;
            if (!draw(tile, surface)) {
                return false;
            }
            if (!tile.isSurveyWanted) {
                numDone = 0;
                return false;
            }
        }
        return true;
    }

    void drawRow(std::size_t row) {
        const std::int32_t height = rows[row + 1] - rows[row];
        const auto pixels = static_cast<std::size_t>(picture.size.cx) * static_cast<std::size_t>(height);
        colours.assign(pixels * 3, 0);
        depths.assign(picture.depth ? pixels : 0, 0);
        shadows.assign(picture.shadow ? pixels : 0, 0);
        for (std::size_t column = 0; column + 1 < columns.size(); ++column) {
            const Cell cell = cellAt(row, column);
            const Cell whole = around(cell);
            KivPictureTile tile = tileOf(whole);
            tile.isLast = row + 2 == rows.size() && column + 2 == columns.size();
            KivBitmapManager surface;
            if (!draw(tile, surface) || !keep(tile, surface, cell, whole)) {
                return;
            }
        }
        hand(height);
    }

    KivPictureTile tileOf(const Cell& whole) const {
        KivPictureTile tile;
        tile.picture = {picture.size.cx * factor, picture.size.cy * factor};
        tile.left = whole.left * factor;
        tile.bottom = (picture.size.cy - whole.bottom) * factor;
        tile.size = {(whole.right - whole.left) * factor, (whole.bottom - whole.top) * factor};
        tile.number = number;
        tile.kept = kept;
        tile.isProjected = picture.isProjected;
        tile.isInWholeFrame = hasWholeFrame;
        if (hasWholeFrame) {
            tile.frameLeft = tile.left;
            tile.frameBottom = tile.bottom;
        }
        return tile;
    }

    bool draw(KivPictureTile& tile, KivBitmapManager& surface) {
        const KivPictureTileScope current(tile);
        const KivGlFrameScope frame({hasWholeFrame ? tile.picture : tile.size, tile.frameLeft, tile.frameBottom});
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        KivScene copy = scene;
        tagSIZE size{tile.size.cx / factor, tile.size.cy / factor};
        if (!renderer.render(&common, data, &copy, camera, &surface, &size)) {
            outcome = kivIsCancelled() ? KivTiledOutcome::cancelled : KivTiledOutcome::notDrawn;
            return false;
        }
        ++numDone;
        const auto count = static_cast<double>((rows.size() - 1) * (columns.size() - 1) * rounds);
        if (picture.progress && !picture.progress(static_cast<double>(numDone) / count)) {
            outcome = KivTiledOutcome::cancelled;
            return false;
        }
        return true;
    }

    // Puts what a tile shows without its margins into the row.
    bool keep(const KivPictureTile& tile, KivBitmapManager& surface, const Cell& cell, const Cell& whole) {
        const std::unique_ptr<KivImage> colour = KivImage::fromBitmap(surface.getHBitmap());
        if (!colour || (picture.depth && !tile.depth) || (picture.shadow && !tile.shadow)) {
            outcome = KivTiledOutcome::notDrawn;
            return false;
        }
        const auto width = static_cast<std::size_t>(cell.right - cell.left);
        const auto skipped = static_cast<std::size_t>(cell.left - whole.left);
        std::vector<std::uint8_t> rgb(static_cast<std::size_t>(colour->width()) * 3);
        for (std::int32_t y = cell.top; y < cell.bottom; ++y) {
            const std::int32_t from = y - whole.top;
            const std::size_t at = static_cast<std::size_t>(y - cell.top) * static_cast<std::size_t>(picture.size.cx) +
                                   static_cast<std::size_t>(cell.left);
            colour->copyRowRgb(from, rgb.data());
            std::copy_n(rgb.data() + skipped * 3, width * 3, colours.data() + at * 3);
            keepGrey(tile.depth.get(), from, skipped, width, depths.data() + at);
            keepGrey(tile.shadow.get(), from, skipped, width, shadows.data() + at);
        }
        return true;
    }

    static void keepGrey(const KivImage* image, std::int32_t row, std::size_t skipped, std::size_t width,
                         std::uint8_t* out) {
        for (std::size_t x = 0; image != nullptr && x < width; ++x) {
            out[x] = static_cast<std::uint8_t>(image->pixel(static_cast<std::int32_t>(skipped + x), row));
        }
    }

    void hand(std::int32_t height) {
        const bool taken = picture.colour(colours.data(), height) &&
                           (!picture.depth || picture.depth(depths.data(), height)) &&
                           (!picture.shadow || picture.shadow(shadows.data(), height));
        if (!taken) {
            outcome = KivTiledOutcome::notTaken;
        }
    }

    KivRenderer& renderer;
    KivDataManager* data;
    const KivScene& scene;
    const KivCamera& camera;
    const KivTiledPicture& picture;
    std::int32_t factor; // of the frame's pixels to those of the finished picture
    // Tiles lie in a frame of the whole picture, for the same bytes, wherever the picture could be drawn without them.
    bool hasWholeFrame;
    KivCommonSettings settings;
    std::uint64_t number;
    std::shared_ptr<KivPictureKept> kept = std::make_shared<KivPictureKept>();
    std::int32_t cellWidth = 0; // of all but the last ones
    std::int32_t cellHeight = 0;
    std::vector<std::int32_t> columns; // where tiles begin, and the picture's end
    std::vector<std::int32_t> rows;
    std::size_t rounds = 1;
    std::size_t numDone = 0;
    // Of one row of tiles.
    std::vector<std::uint8_t> colours;
    std::vector<std::uint8_t> depths;
    std::vector<std::uint8_t> shadows;
    KivTiledOutcome outcome = KivTiledOutcome::done;
};

} // namespace

bool kivNeedsTiles(tagSIZE size, int antialias) {
    const std::int64_t factor = 1 << std::clamp(antialias, 0, 2);
    return size.cx * factor > longestSide || size.cy * factor > longestSide;
}

KivTiledOutcome kivRenderTiled(KivRenderer& renderer, const KivCommonSettings& settings, KivDataManager* data,
                               const KivScene& scene, const KivCamera& camera, const KivTiledPicture& picture) {
    const KeptContext context;
    return TiledRender(renderer, settings, data, scene, camera, picture).run();
}
