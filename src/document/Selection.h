#pragma once

// What the views have selected: a storage, a unit (by StorageID or UnitID), or nothing.
class Selection final
{
public:
    Selection() = default;

    static Selection None() { return Selection(); }
    static Selection OfStorage(int storageId) { return Selection(storageId, true); }
    static Selection OfUnit(int unitId) { return Selection(unitId, false); }
    // A tree item: a storage at the top, a unit below; id -1 for no item.
    static Selection Of(int id, bool isStorage)
    {
        return id == -1 ? None() : Selection(id, isStorage);
    }

    bool IsNone() const { return m_id == -1; }
    bool IsStorage() const { return m_id != -1 && m_isStorage; }
    bool IsUnit() const { return m_id != -1 && !m_isStorage; }
    // The StorageID or UnitID; -1 for nothing.
    int Id() const { return m_id; }
    // Whether this is the storage (isStorage) or the unit with this id.
    bool Is(int id, bool isStorage) const { return m_id == id && m_isStorage == isStorage; }

    bool operator==(const Selection& other) const { return Is(other.m_id, other.m_isStorage); }
    bool operator!=(const Selection& other) const { return !(*this == other); }

private:
    Selection(int id, bool isStorage) : m_id(id), m_isStorage(isStorage) {}

    int m_id = -1;
    bool m_isStorage = false;
};
