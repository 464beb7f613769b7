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
