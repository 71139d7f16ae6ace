#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "core/CimPropertyList.h"

namespace core {

// Is called when an instance is marked for deletion, or when the mark is taken back.
class DeletionListener
{
public:
    DeletionListener(const DeletionListener&) = delete;
    DeletionListener& operator=(const DeletionListener&) = delete;

    // Called on the thread that marks, after the mark is stored. Waits two seconds at most.
    virtual void onMarked(bool marked) noexcept = 0;

protected:
    DeletionListener() = default;
    ~DeletionListener() = default;
};

// An instance of a CIM class with its properties, which it owns. Made and owned by the broker; the provider only reads
// it, except for the delete flag. Used by one request at a time, but for the delete flag, which any thread may set and
// read.
class CimInstance
{
public:
    explicit CimInstance(std::string className);

    // Deletes the properties, hidden ones included.
    virtual ~CimInstance() = default;
    CimInstance(const CimInstance&) = delete;
    CimInstance& operator=(const CimInstance&) = delete;

    // The list that a property joins when it is made with this instance as its owner. What joins may become a key, so
    // that paths are made from the whole list from here on.
    virtual CimPropertyList& getProperties()
    {
        m_lastKey = nullptr;
        return m_properties;
    }

    virtual bool isMarkedForDeletion() const { return m_deleted.load(); }

    virtual std::string getClassName() const { return m_className; }

    // Gives the instance properties that were made without an owner, in their order, as if each had joined it when it
    // was made; takes no lock. When it throws, the instance must not be used any more.
    // REQUIRES: no other thread can reach the instance's properties yet, and none of them becomes a key later.
    void fill(std::vector<std::unique_ptr<CimProperty>> properties);

    // Over the properties that are not overridden, in order. Reads the list itself: the provider calls none of the
    // virtual operations in front of getClassName, which belong to the broker.
    CimPropertyList::Iterator propertyIterator() { return m_properties.getIterator(); }

    // Asks the broker to remove the instance: stores the mark and calls the listener, if any. The instance itself does
    // not change.
    void markForDeletion(bool marked)
    {
        m_deleted.store(marked);
        if (m_deletionListener != nullptr) {
            m_deletionListener->onMarked(marked);
        }
    }

    // Null for none. Not owned; set before the instance is handed out.
    void setDeletionListener(DeletionListener* listener) noexcept { m_deletionListener = listener; }

    // The object path: class name, ".", and the key properties as name=value joined by ",". Texts and references are
    // quoted, numbers are not. Without keys it is the class name and the ".", which no parser takes.
    std::string toPathString();

private:
    std::string m_className;
    CimPropertyList m_properties;
    std::atomic<bool> m_deleted{false};
    DeletionListener* m_deletionListener = nullptr;
    // Behind it no key can come; null when that is not known. A path ends there: each step further would be a lock.
    const CimProperty* m_lastKey = nullptr;
};

}  // namespace core
