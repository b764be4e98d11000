/**
 * Answers of the framework's client library that no configuration brings about. They hold as long
 * as the object lives.
 */
#pragma once

#include <confd_maapi.h>

#include <string>

/** Every XPath expression evaluates to this text. */
class XPathAnswer
{
public:
    explicit XPathAnswer(std::string text);
    ~XPathAnswer();
    XPathAnswer(const XPathAnswer &) = delete;
    XPathAnswer &operator=(const XPathAnswer &) = delete;
};

/** Keys of list entries that are enumerations are delivered as plain numbers. */
class EnumerationKeysAsNumbers
{
public:
    EnumerationKeysAsNumbers();
    ~EnumerationKeysAsNumbers();
    EnumerationKeysAsNumbers(const EnumerationKeysAsNumbers &) = delete;
    EnumerationKeysAsNumbers &operator=(const EnumerationKeysAsNumbers &) = delete;
};

/** Keys of list entries that are enumerations are delivered with this value. */
class EnumerationKeys
{
public:
    explicit EnumerationKeys(int value);
    ~EnumerationKeys();
    EnumerationKeys(const EnumerationKeys &) = delete;
    EnumerationKeys &operator=(const EnumerationKeys &) = delete;
};

/** The schema knows the name of no tag. */
class NamelessTags
{
public:
    NamelessTags();
    ~NamelessTags();
    NamelessTags(const NamelessTags &) = delete;
    NamelessTags &operator=(const NamelessTags &) = delete;
};
