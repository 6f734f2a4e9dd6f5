#include <velxui/TreeItemMap.h>

#include <velwidgets/TreeItem.h>

#include <algorithm>
#include <climits>

namespace VelXUI {

void TreeItemMap::clear() {
    m_dense.clear();
    m_sparse.clear();
    m_count = 0;
}

void TreeItemMap::insert(int objectId, wxUtils::TreeItem* item) {
    if (!item || objectId == -1 || find(objectId) == item) return;
    if (item->GetData() != -1) erase(item);  // an item shows one object
    if (wxUtils::TreeItem* previous = find(objectId)) erase(previous);
    if (objectId >= 0 && objectId < DenseLimit) {
        if (size_t(objectId) >= m_dense.size())
            m_dense.resize(std::max(size_t(objectId) + 1, m_dense.size() * 2), nullptr);
        m_dense[size_t(objectId)] = item;
    } else {
        m_sparse[objectId] = item;
    }
    item->SetData(objectId);
    ++m_count;
}

wxUtils::TreeItem* TreeItemMap::find(int objectId) const {
    if (objectId >= 0 && objectId < DenseLimit) return size_t(objectId) < m_dense.size() ? m_dense[size_t(objectId)] : nullptr;
    auto it = m_sparse.find(objectId);
    return it == m_sparse.end() ? nullptr : it->second;
}

int TreeItemMap::find(const wxUtils::TreeItem* item) const {
    if (!item) return -1;
    const long id = item->GetData();
    if (id == -1 || id < INT_MIN || id > INT_MAX) return -1;
    return find(int(id)) == item ? int(id) : -1;
}

void TreeItemMap::erase(const wxUtils::TreeItem* item) {
    if (!item) return;
    const long id = item->GetData();
    if (id == -1 || id < INT_MIN || id > INT_MAX || find(int(id)) != item) return;
    if (id >= 0 && id < DenseLimit) m_dense[size_t(id)] = nullptr;
    else m_sparse.erase(int(id));
    --m_count;
}

}  // namespace VelXUI
