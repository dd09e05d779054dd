#pragma once

#include <cstddef>

namespace Kelvra {

/// What persistence says to the assertion service: a message, and the source and line that readers of logs
/// filter on.
struct ASceneReport
{
    const char* message;
    const char* source;
    int line;
};

namespace SceneReports {

inline constexpr ASceneReport CollectorNotFound{"Failed to find collector!", "Serialize/ASceneSerializeCollector", 68};
inline constexpr ASceneReport CollectorOfOtherType{"Failed to cast collector", "Serialize/ASceneSerializeCollector",
                                                   70};
inline constexpr ASceneReport NothingWritten{"Failed to cast collector", "Serialize/ASceneSerializeCollector", 29};
inline constexpr ASceneReport NothingRead{"Failed to cast collector", "Serialize/ASceneSerializeCollector", 40};

// The class name follows these messages directly.
inline constexpr ASceneReport ObjectNotCreated{"Failed to create object", "serialize\\AScenePtrCollector", 91};
inline constexpr ASceneReport ObjectOfOtherType{"Failed to cast object:", "serialize\\AScenePtrCollector", 105};
inline constexpr ASceneReport ReadTooDeep{"Failed to read object, nested too deeply:", "serialize\\AScenePtrCollector",
                                          120};
inline constexpr ASceneReport WrittenTooDeep{
    "Failed to write object, nested too deeply:", "serialize\\AScenePtrCollector", 50};
inline constexpr ASceneReport HoldsItself{"Failed to write object, it holds itself:", "serialize\\AScenePtrCollector",
                                          44};
inline constexpr ASceneReport NotCreatable{
    "Written object cannot be loaded, no creator for class:", "serialize\\AScenePtrCollector", 53};

inline constexpr ASceneReport ItemNotRead{"Failed to read item!", "Serialize/AEntitySerializer", 61};
inline constexpr ASceneReport ItemNotReadAs{"Failed to read item!", "Serialize/AEntitySerializer", 117};
inline constexpr ASceneReport ChildNotRead{"Can't find Node", "Serialize/ASceneNodeSerializer", 46};
inline constexpr ASceneReport StyleNotRead{"Can't find Node", "Serialize/ASceneNodeSerializer", 89};

/// At least as many characters as any of these messages has.
inline constexpr std::size_t LongestMessage = 64;
} // namespace SceneReports
} // namespace Kelvra
