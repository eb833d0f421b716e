#include "engine/engine.h"

namespace brinora {

Engine* Engine::sharedInstance() {
    static Engine* instance = (new Engine())->init();
    return instance;
}

Engine* Engine::init() {
    board_.reset();
    return this;
}

}  // namespace brinora
