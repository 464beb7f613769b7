#pragma once

// The job that a thread pool runs, in the two levels that the host's interface prescribes. The pool uses only
// CallBackObject::callBack(); the data pointers are for the job's author and are never read by the host.

// A carrier of one borrowed pointer.
class msgBaseData {
public:
  msgBaseData() = default;
  virtual ~msgBaseData();
  msgBaseData(const msgBaseData&) = delete;
  msgBaseData& operator=(const msgBaseData&) = delete;

  virtual void* getMsgData() const;
  virtual void setMsgData(void* data);

private:
  void* fpMsgData = nullptr;  // borrowed
};

// One job.
//
// Use:        derive, implement callBack(), allocate with new, pass to sfThreadPoolBase::invoke().
// Ownership:  invoke() takes the job over and deletes it after the callback.
class CallBackObject : public msgBaseData {
public:
  virtual void setCallbackData(void* data);
  virtual void* getCallbackData() const;

  // Runs the job: once, on a thread of the pool. By convention 0 means done, but the pool ignores the result,
  // so a job has to report failures through its own data.
  virtual int callBack() = 0;

private:
  void* fpCallbackData = nullptr;  // borrowed
};
