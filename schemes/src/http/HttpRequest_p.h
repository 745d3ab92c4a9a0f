#pragma once

#include "http/HttpSession.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <curl/curl.h>

#include <array>
#include <memory>

namespace zel {

/// One request to one server, and what came back.
class HttpRequest
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpRequest)

public:
    HttpRequest(const HttpQuery &query, const HttpSettings &settings, HttpReceiver *receiver,
                bool withCredentials);
    HttpRequest(const HttpRequest &) = delete;
    HttpRequest &operator=(const HttpRequest &) = delete;

    CURL *handle() const { return curl.get(); }
    const HttpHead &head() const { return answer; }

    /// True if too little has come for too long.
    bool isStalled();
    void setResult(CURLcode code);
    /// `hadContact`: the server has answered this session before, so that its name being unknown
    /// now is a passing trouble.
    HttpOutcome outcome(bool hadContact) const;

private:
    struct CurlDeleter
    {
        void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
    };
    struct ListDeleter
    {
        void operator()(curl_slist *list) const { curl_slist_free_all(list); }
    };

    void setUp(const HttpQuery &query, bool withCredentials);
    void setUpMethod(const HttpQuery &query);
    void setUpTrust();
    void setUpCredentials();
    void setUpHeaders(const HttpQuery &query);
    void setUpReceiving();
    template<typename Value>
    void set(CURLoption option, Value value);

    static size_t onHeader(char *data, size_t one, size_t size, void *self);
    static size_t onBody(char *data, size_t one, size_t size, void *self);
    bool takeHeader(const QByteArray &line);
    bool takeBody(const char *data, qint64 size);
    bool isGood() const;
    HttpOutcome::End end(bool hadContact) const;
    bool isRefusedByProxy() const;
    QString reason(HttpOutcome::End end) const;

    const HttpSettings &settings;
    const HttpQuery::Method method;
    HttpReceiver *receiver;
    std::unique_ptr<curl_slist, ListDeleter> headers;
    std::array<char, CURL_ERROR_SIZE> errorText {};
    std::unique_ptr<CURL, CurlDeleter> curl; // after what it points into
    CURLcode result = CURLE_OK;
    HttpHead answer;
    QByteArray said;
    bool begun = false;
    bool stopped = false; ///< by the receiver, or because enough of a refusal was heard
    bool headTooLong = false;
    qint64 windowBytes = 0;
    QElapsedTimer window;
};

} // namespace zel
