#ifndef VTCLASS_CRYPTO_H
#define VTCLASS_CRYPTO_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "vtclass/border.h"
#include "vtclass/export.h"

/*
 * Stored credentials: a cipher, a printable armour, and operations that combine the two; secrets in
 * memory; and two digests.
 *
 * What EncryptAndAsciify and its kin make hides a credential from a glance at the registry and from
 * nothing else: the key is the same in every copy of the library. Who must not read a credential
 * must not be able to read the value, or the credential is bound to the machine (SealForMachine).
 * docs/sealed-credentials.md says more, and how the stored text is built.
 *
 * Texts are bytes, in whatever code page; lengths and sizes count bytes.
 *
 * Secrets: areas in which the library itself holds a plain text, a key or a message are wiped
 * before the operation returns, also where it fails. What a caller handed in or got is the
 * caller's.
 *
 * Failures: nothing here throws and nothing is logged.
 *
 * Threads: no operation keeps a global state, so any thread may call; one object, handle or buffer
 * belongs to one thread at a time.
 *
 * Requires, everywhere: the buffer that an operation reads and the one that it writes do not
 * overlap.
 */

/* ---- The cipher ---- */

/* The `direction` that enciphers. Every other one deciphers; callers use 500. */
inline constexpr short kEncipher = 100;

/*
 * An open cipher, made by EU_Open. Its fields are shown to those who look at one in a dump; they
 * are the library's to change.
 */
struct EU_HAND {
  short algorithm; /* 0 none, 1 reversal, 3 chained substitution, 4 DES in CBC mode */
  short direction;
  union {
    unsigned char bytes[8]; /* of algorithm 4 */
    unsigned char* copy;    /* of algorithm 3: the handle's own */
  } key;
  short keyLength;            /* of algorithm 3, as are the four below */
  unsigned char chainingByte; /* the enciphered byte before */
  unsigned char flags[2];     /* 1 and 0; nothing reads them */
  short position;             /* bytes since the cipher was opened or reset; wraps at 65,536 */
  unsigned int schedule[96];  /* of algorithm 4, which uses 32 of them */
};

/*
 * Opens a cipher; EU_Close frees it. `*error` becomes 0, or the reason for null:
 *
 *   -600  there is no such algorithm
 *   -601  out of memory
 *   -602  algorithm 3 with a null key or a `keyLength` of 0 or less; algorithm 4 with a null key
 *
 * `*blockSize` becomes 1 (algorithms 1 and 3) or 8 (algorithm 4); algorithm 0 leaves it as it is,
 * and so does a failure. Algorithm 3 copies `keyLength` bytes of the key. Algorithm 4 takes 8 bytes
 * of it whatever `keyLength` says; their parity bits count for nothing. `blockSize` and `error` may
 * be null.
 */
VTCLASS_API EU_HAND* EU_Open(short algorithm, short direction, signed char* key, short keyLength,
                             short* blockSize, short* error) noexcept;

/*
 * Enciphers or deciphers `length` bytes in place, as the handle's direction says. Returns
 *
 *      0  done; so is everything by algorithm 0, which changes nothing
 *   -602  a null handle, or null data (algorithms 1 and 3: with a length above 0); out of memory
 *   -603  algorithm 4: the length is not a positive multiple of 8
 *
 * After a failure the data is as it was. Algorithms 1 and 3 take any length; one of 0 or less is
 * done at once. Algorithm 1 is over with each call and works on all of its bytes. Algorithm 3 goes
 * on where the last call ended, so a text may come in pieces. Algorithm 4 begins anew in every
 * call, with the same start of the chain. Deciphering by algorithm 4 needs memory for a moment.
 *
 * Contract: algorithm 3 counts its position in 16 bits. The byte 32,768 meets the key's byte 32,768
 * modulo its length, and the byte 65,536 the key's first.
 */
VTCLASS_API short EU_Encrypt(EU_HAND* hand, signed char* data, short length) noexcept;

/* Algorithm 3 begins anew; algorithm 4 forgets the schedule of its key. Returns 0, or -602 for a
 * null handle. */
VTCLASS_API short EU_ResetHand(EU_HAND* hand) noexcept;

/* Wipes and frees the handle and its copy of the key. Null does nothing. */
VTCLASS_API void EU_Close(EU_HAND* hand) noexcept;

/* Owns a cipher. */
class Encrypto {
 public:
  /* As EU_Open. */
  Encrypto(short algorithm, short direction, signed char* key, short keyLength) noexcept
      : algorithm(algorithm),
        hand(EU_Open(algorithm, direction, key, keyLength, nullptr, &lastError)) {}
  ~Encrypto() { EU_Close(hand); }
  Encrypto(const Encrypto&) = delete;
  Encrypto& operator=(const Encrypto&) = delete;

  /* As EU_Encrypt and EU_ResetHand; -602 when the cipher could not be opened. */
  short Encrypt(signed char* data, short length) noexcept {
    return lastError = EU_Encrypt(hand, data, length);
  }
  short Reset() noexcept { return lastError = EU_ResetHand(hand); }

  /* The number that was asked for, whether or not there is such an algorithm. */
  short GetAlgorithm() const noexcept { return algorithm; }
  /* The status of the last operation, opening among them. */
  short GetLastError() const noexcept { return lastError; }

 private:
  short algorithm;
  short lastError = 0;
  EU_HAND* hand;
};

/* ---- The armour ---- */

/*
 * Writes bytes as printable characters, '0' to 'o': four for three bytes, and two or three for one
 * or two that are left over, with a terminating zero. `*outLength` is the room in `out`.
 *
 * Returns the count of characters with the zero, also in `*outLength`. Returns 0, with the room
 * that is asked for in `*outLength` and `out` as it was, when there is less. Returns -1, with
 * everything as it was, for a null pointer, a `length` of 0 or less and one whose room no int
 * holds.
 *
 * Contract: the room asked for is length / 3 * 4 + 5, rounded toward zero before it is multiplied:
 * up to four characters more than are written.
 */
VTCLASS_API int ASCIIZEncode(int length, char* data, int* outLength, char* out) noexcept;

/*
 * Reads what ASCIIZEncode has written, up to the terminating zero. `*outLength` is the room in
 * `out`; no terminator is written.
 *
 * Returns the count of bytes, also in `*outLength`. Returns 0, with the count in `*outLength` and
 * `out` as it was, when there is less room. Returns -1, with everything as it was, for a null
 * pointer, a text of fewer than two characters and one whose bytes no int counts.
 * Contract: characters are not checked. Others than the armour's give some bytes or other.
 */
VTCLASS_API int ASCIIZDecode(char* text, int* outLength, char* out) noexcept;

/* ---- Sealed credentials ----
 *
 * Algorithm 4 with the library's fixed key, in armour. After a failure `out` holds an empty string
 * wherever it has room for one.
 */

/*
 * Seals a text of at most 64 bytes: 86 characters and a zero, whatever its length. 0 on success, 1
 * on failure. `*outLength` is the room in `out`, at least 89; on success it becomes 87, with too
 * little room 89.
 * Contract: `textLength` is only compared with 64, and more is refused. What is sealed is the text
 * up to its terminating zero or the 64th byte.
 */
VTCLASS_API unsigned int EU_EncAndAsciify(char* text, int textLength, char* out,
                                          int* outLength) noexcept;

/*
 * Opens it: fills `out` with 64 bytes, of which those behind the text are zeros. 0 on success, 1 on
 * failure. `*outLength` is the room in `out` and becomes the count of bytes that the armour holds,
 * with too little room too. With a null pointer or an `armouredLength` above 91 it stays as it was.
 * Contract: a text of 64 bytes has no terminator. `armouredLength` is only compared with 91, and
 * more is refused; what is read goes up to the terminating zero.
 */
VTCLASS_API unsigned int EU_DeasciifyAndDecrypt(char* armoured, int armouredLength, char* out,
                                                int* outLength) noexcept;

/*
 * Seals `textLength` bytes, whatever they are. True on success. Null, or a length of 0 or less,
 * succeeds with an empty `out`, whatever the algorithm. `algorithm` is 4; every other number fails.
 *
 * `out` needs room for (p / 3) * 4 + 5 bytes, where p is `textLength` rounded up to a multiple of
 * 8. It is cleared as a whole.
 * Contract: texts of up to 1,024 bytes are sealed, but only 768 bytes of them come back. Longer
 * ones fail.
 */
VTCLASS_API bool EncryptAndAsciify(unsigned int algorithm, char* out, int outSize, const char* text,
                                   int textLength) noexcept;

/*
 * Seals a text up to its terminating zero, as 64 bytes with zeros behind it. True on success.
 * Requires: `out` has room for 128 bytes; 87 are written.
 * Contract: a secret longer than 64 bytes is cut there, and nothing tells.
 */
VTCLASS_API bool KNWVEncryptAndAsciify(unsigned int algorithm, char* out,
                                       const char* text) noexcept;

/*
 * Opens what the two above have sealed, and what vtclass::SealForMachine has. True on success; an
 * empty `armoured` gives an empty `out`, whatever the algorithm. Null fails, and so does every
 * `algorithm` but 4.
 *
 * `out` is cleared as a whole, all `outSize` bytes; nothing is written beyond them. It needs
 * room for the text, rounded up to a multiple of 8, and one byte more: without that one a success
 * may leave no terminating zero.
 * A machine-bound seal of another form, or with a damaged mark, fails.
 * Contract: at most 1,024 characters of a text are taken, but for a machine-bound one. A text that
 * was never sealed gives some bytes or other, and succeeds: there is nothing in it to tell by.
 */
VTCLASS_API bool DeasciifyAndDecrypt(unsigned int algorithm, char* out, int outSize,
                                     char* armoured) noexcept;

namespace vtclass {

/*
 * Seals a text so that only this machine opens it: a copied registry, or a backup of it, is
 * worthless elsewhere. Any program on the machine can open it, so who may read the value still
 * matters. A reinstalled or cloned system is another machine: keep a way to enter the credential
 * anew.
 *
 * The result is printable, has no fixed length (three to four hundred characters for a password),
 * and differs each time. DeasciifyAndDecrypt takes it in place of an ordinary one; releases of the
 * library before this operation, and EU_DeasciifyAndDecrypt, do not. An empty text becomes an empty
 * one.
 *
 * Returns 0, or the Win32 status of what failed: 8 out of memory, 87 for a text of 4 GB, 126 or 127
 * where the system has no such service. After a failure `sealed` is empty.
 */
inline unsigned long SealForMachine(std::string_view text, std::string& sealed);

/*
 * Opens it. 13 (invalid data) means that the text is no machine-bound seal, or a damaged one; of
 * one that another machine has made the system tells 13 or a status of its own (0x8009000B).
 * Otherwise as above; after a failure `text` is empty. The caller wipes `text`.
 */
inline unsigned long OpenForMachine(std::string_view sealed, std::string& text);

}  // namespace vtclass

/* ---- Secrets in memory ---- */

/* Keeps a secret enciphered in memory, for this process alone and until it ends. */
class ADSI {
 public:
  ADSI() = delete;

  /*
   * A protected copy of `text` with its terminating zero, which the caller frees with LocalFree.
   * `*size` becomes its size in bytes, a multiple of 16. Returns 0, or 0xFFFFFFFF with null and 0:
   * a null pointer, a lack of memory, a text of 4 GB, a system that refuses, or one whose
   * protection cannot be loaded at the moment. Contract: where the system offers no protection
   * (neither CryptProtectMemory nor SystemFunction040) the copy is plain, and that is a success:
   * programs run there as well.
   */
  VTCLASS_API static unsigned int SaveSensitiveData(const wchar_t* text, wchar_t** protectedBuffer,
                                                    unsigned long* size) noexcept;

  /*
   * Makes a protected copy readable, in place; the caller wipes it before it is freed. Returns 0,
   * or 0xFFFFFFFF for null and where the system refuses. Where the system offers no protection the
   * copy stays as it is, and that is a success.
   */
  VTCLASS_API static unsigned int GetSensitiveData(wchar_t* buffer, unsigned long size) noexcept;
};

/* ---- Digests ---- */

/*
 * A user's credentials for the MD5 login of the Network Data Management Protocol, and the answer to
 * the peer's challenge.
 *
 *   md5_ndmp login;
 *   login.SetMD5Password(password, length);
 *   login.SetMD5Challenge(theirs);           // 64 bytes
 *   login.CreateMD5Digest(digest);           // 16 bytes, to be sent with the user's name
 *
 * Contract: the password stays in the object for the object's life and behind it: nothing is
 * cleared at destruction. Whoever wants it gone calls SetMD5Password(nullptr, 0) before.
 *
 * Requires: challenges and what is filled are not null.
 */
class md5_ndmp {
 public:
  /*
   * A built-in user name and password, which mean nothing to anybody, and a random challenge.
   * Contract: the challenge comes from the C run time's generator, which is started again with the
   * time in seconds: on any thread, two objects of one second have the same one, and rand()
   * continues from there. It is no secret and no protection; a peer's replaces it.
   */
  VTCLASS_API md5_ndmp() noexcept;

  /* Keep `length` bytes, 31 at most, with zeros behind them. Null keeps none. */
  VTCLASS_API void SetMD5UserName(char* name, unsigned __int64 length) noexcept;
  VTCLASS_API void SetMD5Password(char* password, unsigned __int64 length) noexcept;

  /* The name with its terminating zero: 32 bytes at most. */
  VTCLASS_API void GetMD5UserName(char* out) noexcept;

  /* 64 bytes. */
  VTCLASS_API void SetMD5Challenge(char* challenge) noexcept;
  VTCLASS_API void GetMD5Challenge(char* out) noexcept;

  /* The 16 bytes of the digest of password and challenge, which the object keeps too. The password
   * counts up to its first zero. Zeros where it cannot be computed. */
  VTCLASS_API void CreateMD5Digest(char* out) noexcept;

 private:
  char userName[32] = {};
  char password[32] = {};
  char challenge[64];
  char digest[16] = {};
};

/*
 * Credentials in the same layout, empty at first.
 * Contract: the library computes no SHA-256; this class holds fields.
 */
class sha256 {
 public:
  /* As those of md5_ndmp. */
  VTCLASS_API void GetSHA256UserName(char* out) noexcept;
  VTCLASS_API void GetSHA256Challenge(char* out) noexcept;
  VTCLASS_API void SetSHA256Challenge(char* challenge) noexcept;

 private:
  char userName[32] = {};
  [[maybe_unused]] char password[32] = {};
  char challenge[64] = {};
};

/*
 * A hash of 160 bits, the library's own: built like the Secure Hash Algorithm, with other padding,
 * other byte order and another expansion. Nobody has examined it as a protection against forgery;
 * it tells apart what differs by accident.
 *
 * Contract: its results are no SHA-1, and stored ones must stay comparable.
 */
class VTCLASS_API_TYPE SecureHashAlgorithm : public vtclass::border::LibraryMemory {
 public:
  VTCLASS_API SecureHashAlgorithm() noexcept;
  /* Wipes what it holds of the data. */
  VTCLASS_API virtual ~SecureHashAlgorithm();
  /* A copy goes on from where the other stands. */
  VTCLASS_API SecureHashAlgorithm(const SecureHashAlgorithm& other) noexcept;
  SecureHashAlgorithm& operator=(const SecureHashAlgorithm&) noexcept = default;

  /*
   * Adds bytes. However they are split into calls, the result is the same. Null with a length of 0
   * adds nothing.
   * Contract: the total is counted in 32 bits, so beyond 4 GB what enters the hash is the length
   * modulo 2^32.
   */
  VTCLASS_API void hashBlock(const void* data, unsigned int length) noexcept;

  /* The hash of what was added. The object begins anew. */
  VTCLASS_API void finishHash(unsigned int& a, unsigned int& b, unsigned int& c, unsigned int& d,
                              unsigned int& e) noexcept;

 private:
  void Reset() noexcept;
  void Feed(const unsigned char* data, std::size_t length) noexcept;

  std::array<unsigned int, 5> words = {};
  unsigned char block[64];
  unsigned int blockBytes = 0;
  unsigned int totalBytes = 0;
};

#include "vtclass/client/crypto.h"

#endif
