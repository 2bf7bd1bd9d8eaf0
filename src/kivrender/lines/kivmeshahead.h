// What lines need of meshes (kivmeshfeatures.h), found on a thread of its own while base shaders draw.
#ifndef KIVRENDER_LINES_KIVMESHAHEAD_H
#define KIVRENDER_LINES_KIVMESHAHEAD_H

#include "kivrender/lines/kivmeshfeatures.h"
#include "kivrender/platform/kivexport.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class KivMesh;

// While one lives, kivMeshFeatures and KivMeshCrossings take from it, on the thread that made it, what it has found,
// wait for what it is about, and find themselves what it has not begun: results are the same in every case. The meshes
// must not change meanwhile.
class KIV_API KivMeshAhead {
public:
    struct Request {
        const KivMesh* mesh = nullptr;
        bool crossings = false; // of all for which this is set, in this order
    };
    // Nothing is found ahead if there are meshes whose changes are not seen (kivCanKeepWithMesh), and without a thread
    // to be had.
    explicit KivMeshAhead(const std::vector<Request>& requests);
    KivMeshAhead(const KivMeshAhead&) = delete;
    KivMeshAhead& operator=(const KivMeshAhead&) = delete;
    // Ends the work and waits for its end.
    ~KivMeshAhead();

private:
    friend std::shared_ptr<const KivMeshFeatures> kivMeshFeatures(const KivMesh& mesh);
    friend class KivMeshCrossings;

    using Features = std::shared_ptr<const KivMeshFeatures>;
    using Pieces = std::shared_ptr<const std::vector<KivCrossing>>;
    enum class State { waiting, inWork, done };
    struct Task {
        const KivMesh* mesh = nullptr; // null for the crossings, which come last
        bool crossings = false;
        State state = State::waiting;
        Features features;
    };

    // For the thread that draws; null if it is to find them itself.
    static Features featuresOf(const KivMesh& mesh);
    static bool holds(const KivMeshFeatures& features);
    static Pieces crossingsOf(const std::vector<Features>& bodies);

    void work();
    void find(Task& task);
    void findCrossings();
    std::vector<Features> crossingBodies() const;
    bool await(std::unique_lock<std::mutex>& lock, const Task& task);

    KivMeshAhead* outer; // of the render within which this one runs
    std::mutex guard;
    std::condition_variable changed;
    std::vector<Task> tasks;
    Pieces pieces;
    std::atomic<bool> isCancelled{false};
    std::thread worker;
};

#endif
