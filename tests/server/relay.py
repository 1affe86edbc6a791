"""A loopback TCP relay between verda-server and a register (verda-sim): the
register's address as the server knows it. It passes bytes both ways and,
when told, does to the server's request frames what a line or a register in
a shop does: drops them (they never reach the register), answers them itself
with a refusal, or passes one on and hangs up before its reply. It can stay
away (a register that does not answer), and the register behind it can be
changed (another register put at the same address)."""
import pathlib
import re
import socket
import threading

# The command numbers, from the one place that defines them.
COMMANDS = {m.group(1): int(m.group(2), 16) for m in re.finditer(
    r"^\s*(\w+)\s*=\s*(0x[0-9A-Fa-f]+)",
    (pathlib.Path(__file__).resolve().parents[2] / "wire" / "Command.h").read_text(), re.M)}
# Operations that share a command with the one that owns its number.
COMMANDS["GetStateFN"] = COMMANDS["PrintDiagnostic"]
COMMANDS["GetInfoFromEJ0"] = COMMANDS["GetInfoFromEJ"]

REQUEST_BIAS, REPLY_BIAS = 0x2A, 0x33  # what a frame's length word adds to its data's length


def nibble_word(value):
    return bytes(0x30 + ((value >> (12 - 4 * i)) & 0xF) for i in range(4))


def read_word(data):
    value = 0
    for b in data:
        value = (value << 4) | (b & 0xF)
    return value


def reply_frame(seq, command, data, status=bytes(8)):
    counted = nibble_word(len(data) + REPLY_BIAS) + bytes([seq]) + nibble_word(command & 0xFF) + data
    counted += b"\x04" + status + b"\x05"
    return b"\x01" + counted + nibble_word(sum(counted) & 0xFFFF) + b"\x03"


class Relay:
    def __init__(self, target_port):
        self.target_port = target_port
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.lock = threading.Lock()
        self.rules = []          # [action, command, count, code]
        self.counts = {}         # (action, command) -> frames it was applied to
        self.away_ = False
        self.links = []
        self.hanging = set()     # links whose next reply is thrown away, and then cut
        self.closed = False
        threading.Thread(target=self._accept, daemon=True).start()

    @property
    def device(self):
        return f"tcp:127.0.0.1:{self.port}"

    # --- What to do to the server's frames -------------------------------------------

    def drop(self, command, count=1):
        """The next count frames of the command never reach the register."""
        self._rule("drop", command, count)

    def refuse(self, command, code, count=1):
        """The next count frames of the command are answered with the register's
        refusal code, without reaching it."""
        self._rule("refuse", command, count, code)

    def hang_up_after(self, command, away=False):
        """The next frame of the command reaches the register; its reply does
        not come back: the link is cut, and with away the relay then refuses
        every connection until back()."""
        self._rule("hang-up-away" if away else "hang-up", command, 1)

    def clear(self):
        with self.lock:
            self.rules.clear()

    def applied(self, action, command):
        with self.lock:
            return self.counts.get((action, COMMANDS[command]), 0)

    def pending(self):
        """Rules not used up yet."""
        with self.lock:
            return [r for r in self.rules if r[2] > 0]

    def _rule(self, action, command, count, code=0):
        with self.lock:
            self.rules.append([action, COMMANDS[command], count, code])

    # --- The register behind it ----------------------------------------------------

    def away(self):
        """Cuts every link and refuses connections: the register does not answer."""
        with self.lock:
            self.away_ = True
        self.cut()

    def back(self):
        with self.lock:
            self.away_ = False

    def target(self, port):
        """Another register at the address: the next link goes to it."""
        with self.lock:
            self.target_port = port
        self.cut()

    def cut(self):
        with self.lock:
            links = list(self.links)
        for link in links:
            self._close(link)

    def close(self):
        self.closed = True
        self.listener.close()
        self.cut()

    # --- Passing bytes ---------------------------------------------------------------

    def _accept(self):
        while not self.closed:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            with self.lock:
                away, port = self.away_, self.target_port
            if away:
                client.close()
                continue
            try:
                upstream = socket.create_connection(("127.0.0.1", port), timeout=5)
                upstream.settimeout(None)
            except OSError:
                client.close()
                continue
            link = (client, upstream)
            with self.lock:
                self.links.append(link)
            threading.Thread(target=self._requests, args=(link,), daemon=True).start()
            threading.Thread(target=self._replies, args=(link,), daemon=True).start()

    def _take(self, command):
        """The rule that applies to the next frame of the command, used once."""
        with self.lock:
            for rule in self.rules:
                if rule[1] == command and rule[2] > 0:
                    rule[2] -= 1
                    key = (rule[0], command)
                    self.counts[key] = self.counts.get(key, 0) + 1
                    return rule[0], rule[3]
        return None, 0

    def _requests(self, link):
        client, upstream = link
        pending = b""
        try:
            while True:
                data = client.recv(65536)
                if not data:
                    break
                pending += data
                while True:
                    start = pending.find(b"\x01")
                    if start < 0 or len(pending) - start < 5:
                        break
                    if start > 0:
                        upstream.sendall(pending[:start])
                        pending = pending[start:]
                    size = read_word(pending[1:5]) - REQUEST_BIAS + 16
                    if len(pending) < size:
                        break
                    frame, pending = pending[:size], pending[size:]
                    seq, command = frame[5], read_word(frame[6:10])
                    action, code = self._take(command)
                    if action == "drop":
                        continue
                    if action == "refuse":
                        client.sendall(reply_frame(seq, command, f"-{code}\t".encode(), b"\x01" + bytes(7)))
                        continue
                    if action and action.startswith("hang-up"):
                        self._hang_up(link, frame, action == "hang-up-away")
                        return
                    upstream.sendall(frame)
        except OSError:
            pass
        self._close(link)

    def _hang_up(self, link, frame, away):
        """The frame goes to the register, which executes it; its reply is
        read and thrown away, and the link is cut."""
        client, upstream = link
        with self.lock:
            if away:
                self.away_ = True
            self.hanging.add(id(link))
        upstream.sendall(frame)
        # The replies' reader sees the reply and closes the link: the register
        # has done it, and the server never hears.

    def _replies(self, link):
        client, upstream = link
        try:
            while True:
                data = upstream.recv(65536)
                if not data:
                    break
                with self.lock:
                    hanging = id(link) in self.hanging
                if hanging:
                    break
                client.sendall(data)
        except OSError:
            pass
        self._close(link)

    def _close(self, link):
        with self.lock:
            if link in self.links:
                self.links.remove(link)
            self.hanging.discard(id(link))
        for s in link:
            try:
                s.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            s.close()
