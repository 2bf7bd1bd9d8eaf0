// A vertex as OpenGL's feedback gives it: position, then colour with components from 0 to 1. The position is in window
// coordinates in the buffer and in object space while the stages of simplification run.
//
// Two rules of this type shape the outcome of every stage. Equality looks at the position alone, with a tolerance.
// Assignment does nothing when the two are already equal, so the target keeps its colour, and a vertex assigned to a
// new one within the tolerance of the origin is lost: it stays black, transparent and at the origin. Copying into a
// list is a plain copy.
#ifndef KIVRENDER_VECTOR_FEEDBACKVERTEX_H
#define KIVRENDER_VECTOR_FEEDBACKVERTEX_H

struct FeedbackVertex {
    float x = 0;
    float y = 0;
    float z = 0;
    float r = 0;
    float g = 0;
    float b = 0;
    float a = 0;

    FeedbackVertex() = default;
    FeedbackVertex(const FeedbackVertex&) = default;
    FeedbackVertex& operator=(const FeedbackVertex& other) {
        // Not a guard against self-assignment: an equal target keeps its own colour.
        if (!(*this == other))
            replaceBy(other);
        return *this;
    }
    // Copies all seven values, whatever the target holds.
    void replaceBy(const FeedbackVertex& other) {
        x = other.x;
        y = other.y;
        z = other.z;
        r = other.r;
        g = other.g;
        b = other.b;
        a = other.a;
    }

    // The difference is taken in single precision and compared in double. What is not a number equals nothing.
    static bool closeTogether(float first, float second) {
        const double difference = first - second;
        return difference < 0.001 && difference > -0.001;
    }
    friend bool operator==(const FeedbackVertex& first, const FeedbackVertex& second) {
        return closeTogether(first.x, second.x) && closeTogether(first.y, second.y) && closeTogether(first.z, second.z);
    }
};

#endif
