#define GL_GLEXT_PROTOTYPES
#include "kivrender/platform/kivglpieces.h"

#include "kivrender/platform/kivglwait.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr std::size_t cornersPerPiece = std::size_t{3} * 32768;

// Lets go on as long as the driver is less than so many pieces behind.
class Fences {
public:
    Fences() = default;
    Fences(const Fences&) = delete;
    Fences& operator=(const Fences&) = delete;
    ~Fences() {
        for (const GLsync fence : pending) {
            glDeleteSync(fence); // null is none
        }
    }

    void add() {
        GLsync& oldest = pending[next];
        next = (next + 1) % pending.size();
        if (oldest != nullptr) {
            glClientWaitSync(oldest, GL_SYNC_FLUSH_COMMANDS_BIT, nanoseconds);
            glDeleteSync(oldest);
        }
        oldest = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        glFlush();
    }

private:
    static constexpr GLuint64 nanoseconds = 1'000'000'000;

    std::array<GLsync, 2> pending{};
    std::size_t next = 0;
};

void drawPiece(std::span<const std::uint32_t> indices) {
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices.size()), GL_UNSIGNED_INT, indices.data());
}

} // namespace

bool kivDrawTrianglesInPieces(std::span<const std::uint32_t> indices, const std::function<bool()>& goOn) {
    if (indices.size() <= cornersPerPiece) {
        if (!indices.empty()) {
            drawPiece(indices);
        }
        return true;
    }
    const bool isPaced = kivHasGlFences();
    Fences fences;
    while (!indices.empty()) {
        const std::span<const std::uint32_t> piece = indices.first(std::min(indices.size(), cornersPerPiece));
        drawPiece(piece);
        indices = indices.subspan(piece.size());
        if (isPaced) {
            fences.add();
        }
        if (!indices.empty() && !goOn()) {
            return false;
        }
    }
    return true;
}
