#pragma once

// What a job carries for whoever reads it; the pool itself doesn't look at it.
class msgBaseData {
public:
  msgBaseData() = default;
  virtual ~msgBaseData();
  msgBaseData(const msgBaseData&) = delete;
  msgBaseData& operator=(const msgBaseData&) = delete;

  virtual void* getMsgData() const;
  virtual void setMsgData(void* data);  // borrowed

private:
  void* fpMsgData = nullptr;
};

// One job for a pool of threads. Whoever makes it gives it to sfThreadPoolBase::invoke() and forgets it.
class CallBackObject : public msgBaseData {
public:
  virtual void setCallbackData(void* data);  // borrowed
  virtual void* getCallbackData() const;

  // Does the job, once, on some thread. The result is not used; 0 means done.
  virtual int callBack() = 0;

private:
  void* fpCallbackData = nullptr;
};
