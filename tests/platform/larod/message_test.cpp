#include "platform/larod/message.h"
#include "tests/platform/larod/test_models.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>

namespace korvex::larod::test {
namespace {

using namespace std::chrono_literals;

class Talk : public testing::Test {
  protected:
    Talk() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
        m_here = Descriptor(ends[0]);
        m_there = Descriptor(ends[1]);
    }

    Received receive(std::chrono::milliseconds patience = 10s) {
        return receive_message(m_there.get(), m_message, m_files, std::chrono::steady_clock::now() + patience);
    }

    Descriptor m_here;
    Descriptor m_there;
    Message m_message;
    std::vector<Descriptor> m_files;
};

TEST_F(Talk, CarriesAMessageAndItsFiles) {
    const Descriptor file(memory_file({std::byte{7}}));
    Message sent;
    sent.kind = Message::Kind::loaded;
    sent.model = 5;
    sent.inputs = 1;
    sent.tensors[0] = {uint8_type, 2, {3, 4}};
    const std::array<int, 2> files{file.get(), file.get()};
    ASSERT_TRUE(send_message(m_here.get(), sent, files));
    ASSERT_EQ(receive(), Received::message);
    EXPECT_EQ(m_message.kind, Message::Kind::loaded);
    EXPECT_EQ(m_message.model, 5U);
    EXPECT_EQ(m_message.tensors, sent.tensors);
    ASSERT_EQ(m_files.size(), 2U);
    std::byte read{};
    EXPECT_EQ(pread(m_files[1].get(), &read, 1, 0), 1);
    EXPECT_EQ(read, std::byte{7});
}

TEST_F(Talk, CarriesASentenceCutToItsRoom) {
    ASSERT_TRUE(send_message(m_here.get(), message_of({Code::model, std::string(5000, 'x')})));
    ASSERT_EQ(receive(), Received::message);
    EXPECT_EQ(std::string(m_message.text.data()), std::string(m_message.text.size() - 1, 'x'));
}

TEST_F(Talk, EndsASentenceThatItsSenderLeftOpen) {
    Message open;
    open.text.fill('y');
    ASSERT_TRUE(send_message(m_here.get(), open));
    ASSERT_EQ(receive(), Received::message);
    EXPECT_EQ(std::string(m_message.text.data()).size(), m_message.text.size() - 1);
}

TEST_F(Talk, TellsAnEndAndSilenceApart) {
    EXPECT_EQ(receive(1ms), Received::late);
    m_here.reset();
    EXPECT_EQ(receive(), Received::closed);
    EXPECT_FALSE(send_message(m_there.get(), m_message)) << "and no signal";
}

TEST_F(Talk, KnowsRubbishAndKeepsNoFileOfIt) {
    const Descriptor file(memory_file({}));
    Message many;
    many.inputs = most_tensors;
    many.outputs = 1;
    Message unknown;
    unknown.kind = static_cast<Message::Kind>(99);
    for (const Message& message : {many, unknown}) {
        const int fd = file.get();
        ASSERT_TRUE(send_message(m_here.get(), message, {&fd, 1}));
        EXPECT_EQ(receive(), Received::rubbish);
        EXPECT_EQ(m_files.size(), 1U) << "owned, so that it is closed";
    }
    for (const std::size_t size : {std::size_t{1}, sizeof(Message) - 1, sizeof(Message) + 1}) {
        const std::vector<char> bytes(size);
        ASSERT_EQ(send(m_here.get(), bytes.data(), size, 0), static_cast<ssize_t>(size));
        EXPECT_EQ(receive(), Received::rubbish) << size;
    }
}

TEST_F(Talk, NeverWaitsForAReader) {
    bool sent = true;
    for (int i = 0; sent && i < 100000; ++i)
        sent = send_message(m_here.get(), m_message);
    EXPECT_FALSE(sent);
}

TEST(Deadlines, AreGivenToPollInMilliseconds) {
    EXPECT_EQ(milliseconds_until(never), -1);
    EXPECT_EQ(milliseconds_until(std::chrono::steady_clock::now() - 1s), 0);
    EXPECT_GT(milliseconds_until(std::chrono::steady_clock::now() + 1h), 3'000'000);
}

} // namespace

} // namespace korvex::larod::test
