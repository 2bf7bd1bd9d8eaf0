// Every shader object there is, so that a stale pointer can be told without following it.
#ifndef KIVRENDER_SHADER_KIVLIVESHADERS_H
#define KIVRENDER_SHADER_KIVLIVESHADERS_H

class KivShader;

class KivLiveShaders {
public:
    // By the constructors and the destructor.
    static void add(const KivShader* shader);
    static void remove(const KivShader* shader);

    static bool contains(const KivShader* shader);
    // The last reference is gone, yet the plug-in has not destroyed the object: it counts as gone. If it lies in a
    // module that stays in memory all the same, the next load of that module gives it again.
    static void retire(const KivShader* shader);
    // Back from there. False for what is no shader, or not any more.
    static bool revive(const KivShader* shader);
};

#endif
