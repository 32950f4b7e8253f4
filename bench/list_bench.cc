// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Lists of records beside std::list, and beside the two links moved by hand.
//
//   list_queue   adds a record at the tail and takes one off the head
//   list_move    takes a record out of the middle, wherever it is, and inserts it before another
//
// Records are made beforehand; std::list makes a node for each element that it takes in.

#include <list>
#include <stddef.h>
#include <vector>

#include "zol/list.h"

#include "measure.h"

namespace {

constexpr int kOperations = 1000;
constexpr int kSizes[] = {100, 10000};

struct Record {
    xlist_link_s link;
    int number;
};

class ZolList {
  public:
    static constexpr const char* name = "zol";
    using Position = Record*;

    explicit ZolList(std::vector<Record>& records) {
        for (Record& record : records) {
            xlist_add_tail(&m_list, &record, kLink);
            m_positions.push_back(&record);
        }
    }

    void rotate() { xlist_add_tail(&m_list, xlist_remove_head(&m_list, kLink), kLink); }

    void move(size_t from, size_t to) {
        Record* const record = m_positions[from];
        xlist_remove(&m_list, record, kLink);
        xlist_insert(&m_list, record, m_positions[to], kLink);
    }

  private:
    static constexpr size_t kLink = offsetof(Record, link);

    xlist m_list = xlist_null;
    std::vector<Record*> m_positions;
};

class StdList {
  public:
    static constexpr const char* name = "std";

    explicit StdList(std::vector<Record>& records) {
        for (Record& record : records) {
            m_positions.push_back(m_list.insert(m_list.end(), &record));
        }
    }

    void rotate() {
        Record* const record = m_list.front();
        m_list.pop_front();
        m_list.push_back(record);
    }

    void move(size_t from, size_t to) {
        Record* const record = *m_positions[from];
        m_list.erase(m_positions[from]);
        m_positions[from] = m_list.insert(m_positions[to], record);
    }

  private:
    std::list<Record*> m_list;
    std::vector<std::list<Record*>::iterator> m_positions;
};

/** The limit: a ring of records around a head, so that no end needs care. */
class PlainList {
  public:
    static constexpr const char* name = "limit";

    explicit PlainList(const std::vector<Record>& records) : m_nodes(records.size()) {
        for (Node& node : m_nodes) {
            insert(&node, &m_head);
        }
    }
    PlainList(const PlainList&) = delete;
    PlainList& operator=(const PlainList&) = delete;

    void rotate() {
        Node* const node = m_head.next;
        remove(node);
        insert(node, &m_head);
    }

    void move(size_t from, size_t to) {
        remove(&m_nodes[from]);
        insert(&m_nodes[from], &m_nodes[to]);
    }

  private:
    struct Node {
        Node* next = this;
        Node* previous = this;
        int number = 0;
    };

    static void insert(Node* node, Node* before) {
        node->next = before;
        node->previous = before->previous;
        node->previous->next = node;
        before->previous = node;
    }
    static void remove(Node* node) {
        node->next->previous = node->previous;
        node->previous->next = node->next;
    }

    Node m_head;
    std::vector<Node> m_nodes;
};

template <class List>
void addAll(int size) {
    const auto count = static_cast<size_t>(size);
    bench::add("list_queue", List::name, size, [count](benchmark::State& state) {
        std::vector<Record> records(count);
        List list(records);
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                list.rotate();
                benchmark::ClobberMemory();
            }
        });
    });
    bench::add("list_move", List::name, size, [count](benchmark::State& state) {
        std::vector<Record> records(count);
        List list(records);
        bench::Numbers numbers;
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                const unsigned from = numbers.below(static_cast<unsigned>(count));
                const unsigned step = 1 + numbers.below(static_cast<unsigned>(count) - 1);
                list.move(from, (from + step) % count);
                benchmark::ClobberMemory();
            }
        });
    });
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes) {
        addAll<ZolList>(size);
        addAll<StdList>(size);
        addAll<PlainList>(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
