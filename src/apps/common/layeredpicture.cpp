#include "apps/common/layeredpicture.h"

#include "apps/common/coverage.h"

#include <utility>

namespace {

constexpr std::uint32_t black = 0x000000;
constexpr std::uint32_t white = 0xFFFFFF;
// The alpha that two passes of one thing may differ by.
constexpr std::uint8_t roundingOfPasses = 2;

class Apart {
public:
    Apart(const LayerPlan& layerPlan, const DrawLayer& drawLayer) : plan(layerPlan), draw(drawLayer) {}

    std::optional<LayeredPicture> take() {
        LayerContent content;
        content.scene = false;
        below = draw(content);
        if (!below) {
            return std::nullopt;
        }
        if (plan.ground) {
            picture.layers.push_back({"paper", laidOver(*below, *below), {}});
        }
        content.scene = true;
        content.lines = content.shadows = content.highlights = false;
        if (plan.base && (!findObjects(content) || !addColours(content))) {
            return std::nullopt;
        }
        content.shadows = true;
        if (plan.shadows && !add("shadow", content, nullptr)) {
            return std::nullopt;
        }
        content.highlights = true;
        if (plan.highlights && !add("highlights", content, nullptr)) {
            return std::nullopt;
        }
        content.lines = true;
        if (plan.lines && !addLines(content)) {
            return std::nullopt;
        }
        return merge() ? std::optional(std::move(picture)) : std::nullopt;
    }

private:
    // The content as drawn, without the ground that it stands on.
    std::unique_ptr<KivImage> coverageOf(LayerContent content, bool withPaper) {
        content.ground = false;
        content.paper = false;
        content.background = black;
        const auto onBlack = draw(content);
        content.background = white;
        const auto onWhite = onBlack ? draw(content) : nullptr;
        std::unique_ptr<KivImage> onPaper;
        if (onWhite && withPaper && plan.paper) {
            content.background = black;
            content.paper = true;
            onPaper = draw(content);
            if (!onPaper) {
                return nullptr;
            }
        }
        return onWhite ? pictureWithoutBackground(*onBlack, *onWhite, onPaper.get()) : nullptr;
    }

    bool addColours(const LayerContent& content) {
        auto colours = coverageOf(content, true);
        if (!colours) {
            return false;
        }
        if (!plan.shadows && !plan.highlights && !plan.lines) {
            return add("colours", content, colours.get()); // the picture itself, to its last detail
        }
        return push("colours", std::move(colours));
    }

    bool addLines(const LayerContent& content) {
        LayerContent alone = content;
        alone.base = alone.shadows = alone.highlights = false;
        const auto covers = coverageOf(alone, false);
        return covers && findObjects(alone) && add("lines", content, covers.get());
    }
    // What each object covers of such a content.
    bool findObjects(LayerContent content) {
        objects.clear();
        for (std::size_t i = 0; i < plan.objects.size(); ++i) {
            content.object = i;
            objects.push_back(coverageOf(content, false));
            if (!objects.back()) {
                return false;
            }
        }
        return true;
    }

    bool add(const char* name, const LayerContent& content, const KivImage* covers) {
        const auto target = draw(content);
        return target && push(name, layerBetween(*below, *target, covers));
    }

    bool push(const char* name, std::unique_ptr<KivImage> layer) {
        below = layer ? laidOver(*layer, *below) : nullptr;
        if (below && !plan.objects.empty()) {
            return pushParts(name, *layer);
        }
        if (below) {
            picture.layers.push_back({name, std::move(layer), {}});
        }
        return below != nullptr;
    }
    // Of objects that have something of it. What belongs to none of them has the name of the whole.
    bool pushParts(const char* name, const KivImage& layer) {
        std::vector<const KivImage*> covers;
        for (const auto& object : objects) {
            covers.push_back(object.get());
        }
        std::vector<std::unique_ptr<KivImage>> parts = layerParts(layer, covers);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const bool isOwn = i < covers.size();
            if (!isTransparent(*parts[i], isOwn ? 0 : roundingOfPasses)) {
                picture.layers.push_back({isOwn ? plan.objects[i] : name, std::move(parts[i]), name});
            }
        }
        return !parts.empty();
    }

    // The layers themselves, so that the merged picture is what they give.
    bool merge() {
        picture.merged = KivImage::createWithAlpha(below->size());
        for (const PictureLayer& layer : picture.layers) {
            picture.merged = picture.merged ? laidOver(*layer.image, *picture.merged) : nullptr;
        }
        return picture.merged != nullptr;
    }

    const LayerPlan& plan;
    const DrawLayer& draw;
    std::unique_ptr<KivImage> below; // what the layers give so far
    std::vector<std::unique_ptr<KivImage>> objects;
    LayeredPicture picture;
};

} // namespace

std::vector<std::string> layerNames(const LayerPlan& plan) {
    std::vector<std::string> names;
    const bool isWhole = plan.objects.empty();
    for (const auto& [has, name] :
         {std::pair(plan.ground, "paper"), std::pair(plan.base && isWhole, "colours"),
          std::pair(plan.shadows && isWhole, "shadow"), std::pair(plan.highlights && isWhole, "highlights"),
          std::pair(plan.lines && isWhole, "lines")}) {
        if (has) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::size_t layerRenders(const LayerPlan& plan) {
    const std::size_t coverage = 2;
    const std::size_t ofColours = coverage * (1 + plan.objects.size()) + (plan.paper ? 1 : 0) +
                                  (plan.shadows || plan.highlights || plan.lines ? 0 : 1);
    const std::size_t ofLines = coverage * (1 + plan.objects.size()) + 1;
    return 1 + (plan.base ? ofColours : 0) + (plan.shadows ? 1 : 0) + (plan.highlights ? 1 : 0) +
           (plan.lines ? ofLines : 0);
}

std::optional<LayeredPicture> takeApart(const LayerPlan& plan, const DrawLayer& draw) {
    return Apart(plan, draw).take();
}
