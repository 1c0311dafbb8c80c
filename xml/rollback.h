// Rollback: undoes a step unless the ones behind it succeed too.
#pragma once

#include <utility>

namespace Xml {

template <class Undo>
class [[nodiscard]] Rollback {
public:
    explicit Rollback(Undo itsUndo) noexcept : undo(std::move(itsUndo)) { }
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;
    ~Rollback()
    {
        if (isArmed)
            undo();
    }
    void Disarm() noexcept { isArmed = false; }

private:
    Undo undo; // does not throw
    bool isArmed = true;
};

} // namespace Xml
