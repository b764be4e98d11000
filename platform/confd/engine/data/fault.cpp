#include "engine/data/fault.h"

namespace engine
{

FaultNames names_of(Fault fault)
{
    switch (fault) {
    case Fault::kUnreadable:
        return {"unreadable", "operation-failed"};
    case Fault::kTooLarge:
        return {"too-large", "too-big"};
    case Fault::kMalformed:
        return {"malformed", "malformed-message"};
    case Fault::kNoConfiguration:
        return {"no-configuration", "missing-element"};
    case Fault::kUnknownNode:
        return {"unknown-node", "unknown-element"};
    case Fault::kForeignNode:
        return {"foreign-node", "unknown-namespace"};
    case Fault::kInvalidValue:
        return {"invalid-value", "invalid-value"};
    case Fault::kUnknownAttribute:
        return {"unknown-attribute", "unknown-attribute"};
    case Fault::kInvalidAttribute:
        return {"invalid-attribute", "bad-attribute"};
    case Fault::kDuplicate:
        return {"duplicate", "bad-element"};
    case Fault::kExclusive:
        return {"exclusive", "bad-element"};
    case Fault::kDataExists:
        return {"data-exists", "data-exists"};
    case Fault::kDataMissing:
        return {"data-missing", "data-missing"};
    case Fault::kIncomplete:
        return {"incomplete", "missing-element"};
    case Fault::kTooMany:
        return {"too-many", "operation-failed"};
    case Fault::kDanglingReference:
        return {"dangling-reference", "data-missing"};
    case Fault::kNotUnique:
        return {"not-unique", "operation-failed"};
    case Fault::kConstraint:
        return {"constraint", "operation-failed"};
    case Fault::kInvalidData:
        return {"invalid-data", "operation-failed"};
    case Fault::kInvalidOption:
        return {"invalid-option", "invalid-value"};
    case Fault::kInvalidCard:
        return {"invalid-card", "invalid-value"};
    case Fault::kUnusablePlugin:
        return {"unusable-plugin", "operation-failed"};
    case Fault::kInternal:
        return {"internal", "operation-failed"};
    }
    return {"internal", "operation-failed"};
}

} // namespace engine
