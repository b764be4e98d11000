#include "engine/data/fault.h"

namespace engine
{

FaultNames names_of(Fault fault)
{
    switch (fault) {
    case Fault::kUnreadable:
        return {"unreadable", "operation-failed", "A file cannot be opened, read or written."};
    case Fault::kTooLarge:
        return {"too-large", "too-big", "An input is larger than the limit."};
    case Fault::kMalformed:
        return {"malformed", "malformed-message", "A text is no XML or JSON, or not one document."};
    case Fault::kNoConfiguration:
        return {"no-configuration", "missing-element",
                "A document holds no configuration and no edit."};
    case Fault::kUnknownNode:
        return {"unknown-node", "unknown-element", "The data model has no such node there."};
    case Fault::kForeignNode:
        return {"foreign-node", "unknown-namespace", "A node is not of this data model."};
    case Fault::kInvalidValue:
        return {"invalid-value", "invalid-value", "The type does not take the value."};
    case Fault::kUnknownAttribute:
        return {"unknown-attribute", "unknown-attribute",
                "An attribute or metadata has no meaning here."};
    case Fault::kInvalidAttribute:
        return {"invalid-attribute", "bad-attribute",
                "An edit asks for an operation or a place that does not go there."};
    case Fault::kDuplicate:
        return {"duplicate", "bad-element", "A node that may occur once occurs again."};
    case Fault::kExclusive:
        return {"exclusive", "bad-element", "Nodes of two cases of a choice occur together."};
    case Fault::kDataExists:
        return {"data-exists", "data-exists", "An edit creates what exists."};
    case Fault::kDataMissing:
        return {"data-missing", "data-missing",
                "An edit deletes, or leads through, what does not exist."};
    case Fault::kIncomplete:
        return {"incomplete", "missing-element", "A mandatory node, a key or an entry is missing."};
    case Fault::kTooMany:
        return {"too-many", "operation-failed", "A list has more entries than it may have."};
    case Fault::kDanglingReference:
        return {"dangling-reference", "data-missing", "A reference leads to nothing."};
    case Fault::kNotUnique:
        return {"not-unique", "operation-failed", "Values that must be unique occur twice."};
    case Fault::kConstraint:
        return {"constraint", "operation-failed", "A condition of the data model is not met."};
    case Fault::kInvalidData:
        return {"invalid-data", "operation-failed", "The data model does not allow the data."};
    case Fault::kInvalidOption:
        return {"invalid-option", "invalid-value", "The command line makes no sense."};
    case Fault::kInvalidCard:
        return {"invalid-card", "invalid-value", "A file of card capabilities makes no sense."};
    case Fault::kUnusablePlugin:
        return {"unusable-plugin", "operation-failed",
                "The plug-in cannot be loaded, or does not start."};
    case Fault::kInternal:
        return {"internal", "operation-failed", "The program or the system failed."};
    }
    return {"internal", "operation-failed", "The program or the system failed."};
}

} // namespace engine
